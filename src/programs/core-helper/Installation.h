/// How the root helper gets onto a machine, and off it.
#pragma once

#include "core-helper/InstallFolders.h"

#include <filesystem>

namespace quorlin {

/// Copies the program and the files that systemd, the system bus and polkit know it by to their places below
/// the root: all of them or, with an InstallationError, none. What was there before is replaced.
void installHelper(const std::filesystem::path& root,
                   const std::filesystem::path& program = "/proc/self/exe");

/// Takes away what installHelper() puts below the root, and the helper's state. What is not there is no
/// error. What cannot be taken away is named by an InstallationError after all else is gone.
void removeHelper(const std::filesystem::path& root);

/// Has systemd and the system bus read their files anew; polkit watches its own. Where they do not run, there
/// is nobody to tell. What they refuse is a line on the error stream.
void tellSystem();

/// Has systemd end a helper that runs, and waits for what its unit does then. Without systemd there is none.
/// Whatever keeps it from that is a line on the error stream.
void stopService();

/// Throws InstallationError unless the program runs as root.
void requireRoot();

}  // namespace quorlin
