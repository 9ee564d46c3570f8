/// How the desktop names its applications.
#pragma once

#include "platform/linux/desktop/KeyFile.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// The name in the user's language from the desktop entry of an application id, looked for in the XDG data
/// folders.
std::optional<std::string> applicationName(std::string_view applicationId);

/// The text of a key; empty without it.
std::string entryText(GKeyFile* entry, const char* key);

/// Whether a key is there and says true.
bool entryFlag(GKeyFile* entry, const char* key);

/// The command of a desktop entry, without files or URLs: the program, then its arguments, as the Desktop
/// Entry Specification describes the key Exec. Empty if it has no valid one. The file stands where the
/// command asks for its place.
std::vector<std::string> commandOf(GKeyFile* entry, const std::filesystem::path& file);

/// A program's path as such a command.
std::string execOf(const std::string& program);

}  // namespace quorlin
