/// The programs that come with the one that runs.
#pragma once

#include <filesystem>
#include <string_view>

namespace quorlin {

/// Where the executable of this process is; empty when that cannot be told.
std::filesystem::path programFolder();

/// The executable of that name: beside this process's own in a build, in ../libexec/quorlin-sensors where it
/// is installed. Empty when there is none.
std::filesystem::path bundledProgram(std::string_view name,
                                     const std::filesystem::path& folder = programFolder());

}  // namespace quorlin
