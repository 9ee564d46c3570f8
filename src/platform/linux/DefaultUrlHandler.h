/// Who opens the user's URLs of a scheme: the file mimeapps.list of freedesktop.org's MIME applications
/// associations.
#pragma once

#include "platform/Log.h"

#include <filesystem>
#include <string_view>

namespace quorlin {

/// The user's own list, below $XDG_CONFIG_HOME.
std::filesystem::path mimeApplicationsFile();

/// Puts the application's desktop entry before all others. A file that says so already is not written; one
/// that cannot be read is left alone, with a line in the log.
void setDefaultUrlHandler(const std::filesystem::path& mimeApplications, std::string_view scheme,
                          std::string_view applicationId, Log& log);

}  // namespace quorlin
