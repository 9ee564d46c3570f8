/// How the root helper gets onto the machine: the user, asked by polkit, lets it install itself.
#pragma once

#include <filesystem>

#include <unistd.h>

namespace quorlin {

/// The helper that came with the program that runs: beside its executable in a build, in
/// ../libexec/quorlin-sensors where it is installed. Empty when there is none.
std::filesystem::path bundledHelper();
std::filesystem::path bundledHelper(const std::filesystem::path& programFolder);

/// Runs "pkexec HELPER --install", as root without pkexec, and waits for it; the user may take a while.
/// Returns its exit status as a shell would: pkexec's 126 (the user refused) and 127 (not authorized), 127
/// also when it could not be started, 128 and the number of the signal that ended it. Any thread.
int runHelperInstaller(const std::filesystem::path& helper, bool isRoot = ::geteuid() == 0);

}  // namespace quorlin
