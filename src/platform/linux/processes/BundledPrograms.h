/// The programs that come with the running one and are not for the user's PATH.
#pragma once

#include "platform/values/Result.h"

#include <filesystem>
#include <string_view>

namespace quorlin {

/// Their folder, at a fixed place relative to this process's executable, in the build as in an installation.
/// Empty when the executable's path cannot be read.
std::filesystem::path bundleFolder();

/// The executable of that name in the folder.
Result<std::filesystem::path> bundledProgram(std::string_view name,
                                             const std::filesystem::path& folder = bundleFolder());

}  // namespace quorlin
