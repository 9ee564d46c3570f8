/// Files of groups, keys and values, as GLib reads and writes them.
#pragma once

#include "platform/values/Owned.h"
#include "platform/values/Result.h"

#include <cerrno>
#include <filesystem>
#include <optional>

#include <glib.h>

namespace quorlin {

using KeyFile = Owned<GKeyFile, g_key_file_unref>;
using GText = Owned<gchar, g_free>;

/// The error of a file that can be read but is malformed.
inline constexpr int kMalformed = EBADMSG;

/// With comments and translations; an absent file is empty, and one of more than 1 MB a trouble.
Result<KeyFile> loadKeyFile(const std::filesystem::path& file);

/// Where a link leads, also to a file that does not exist yet, so that the link stays a link.
std::filesystem::path behindLinks(std::filesystem::path file);

/// Replaces the file as a whole; makes its folder.
std::optional<Trouble> saveKeyFile(GKeyFile* keyFile, const std::filesystem::path& file);

}  // namespace quorlin
