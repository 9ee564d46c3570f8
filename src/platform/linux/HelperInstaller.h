/// How the root helper gets onto the machine: the user, asked by polkit, lets it install itself.
#pragma once

#include <filesystem>
#include <string_view>

#include <unistd.h>

namespace quorlin {

/// The file name of the helper that comes with the program that runs.
inline constexpr std::string_view kHelperFileName = "quorlin-core-helper";

/// Runs "pkexec HELPER --install", as root without pkexec, and waits for it; the user may take a while.
/// Returns its exit status as a shell would: pkexec's 126 (the user refused) and 127 (not authorized), 127
/// also when it could not be started, 128 and the number of the signal that ended it. Any thread.
int runHelperInstaller(const std::filesystem::path& helper, bool isRoot = ::geteuid() == 0);

}  // namespace quorlin
