/// The application for the user's URLs of a scheme, in the file mimeapps.list of freedesktop.org's MIME
/// applications associations.
#pragma once

#include "platform/values/Result.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace quorlin {

/// The user's own list, below $XDG_CONFIG_HOME.
std::filesystem::path mimeApplicationsFile();

/// Puts the application's desktop entry before all others, unless it is first already. Leaves a file alone
/// that cannot be read.
std::optional<Trouble> setDefaultUrlHandler(const std::filesystem::path& mimeApplications,
                                            std::string_view scheme, std::string_view applicationId);

}  // namespace quorlin
