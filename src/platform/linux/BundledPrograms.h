/// The programs that come with the one that runs and are not for the user's PATH.
#pragma once

#include <filesystem>
#include <string_view>

namespace quorlin {

/// Their folder, known by its place beside that of this process's own executable; the build has the same
/// places as an installation. Empty when it cannot be told.
std::filesystem::path bundleFolder();

/// The executable of that name in the folder. Empty when there is none.
std::filesystem::path bundledProgram(std::string_view name,
                                     const std::filesystem::path& folder = bundleFolder());

}  // namespace quorlin
