/// Files of groups, keys and values, as GLib reads and writes them.
#pragma once

#include "platform/Log.h"
#include "platform/values/Owned.h"
#include "platform/values/Result.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <optional>

#include <glib.h>

namespace quorlin {

using KeyFile = Owned<GKeyFile, g_key_file_unref>;
using GText = Owned<gchar, g_free>;

/// The error of a file that can be read but is malformed.
inline constexpr int kMalformed = EBADMSG;

/// With comments and translations; an absent file is empty, and one of more than 1 MB a trouble.
Result<KeyFile> loadKeyFile(const std::filesystem::path& file);

/// What a change makes of a file.
enum class Changed { Nothing, Contents, NeedsNoFile };

/// Has a file changed: it is read, and replaced as a whole, so that a reader finds the old one or the new
/// one. No other program that changes files in this way changes one in the same folder meanwhile; waits two
/// seconds for it. Makes the file's folder. A link stays a link. A malformed file is a trouble; with a log it
/// is copied to FILE.unreadable, which the log tells, and given to the change as an empty one.
std::optional<Trouble> changeKeyFile(const std::filesystem::path& file,
                                     const std::function<Changed(GKeyFile*)>& change, Log* log = nullptr);

}  // namespace quorlin
