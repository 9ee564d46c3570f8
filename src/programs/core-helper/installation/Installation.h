/// Installs the root helper on a machine, and removes it.
#pragma once

#include "programs/core-helper/installation/InstallFolders.h"

#include <filesystem>
#include <functional>

namespace quorlin {

/// Copies the program and its files for systemd, the system bus and polkit to their places below the root,
/// then does what is to be done when they are there: all of it or, with an InstallationError, nothing.
/// Replaces earlier files.
void installHelper(
    const std::filesystem::path& root, const std::filesystem::path& program = "/proc/self/exe",
    const std::function<void()>& whenInPlace = [] {});

/// Makes the user as whom the helper runs, by its file for systemd-sysusers(8). Throws InstallationError.
void makeUser();

/// An InstallationError says why a user stays.
void removeUser();

/// Removes the files of installHelper() below the root, and the helper's state; an absent file is not an
/// error. An InstallationError names the files that cannot be removed, after all others are gone.
void removeHelper(const std::filesystem::path& root);

/// Has systemd and the system bus reload their files; polkit watches its own. Does nothing where they do not
/// run. A refusal is a line on the error stream.
void reloadServices();

/// Has systemd stop a running helper, and waits for the unit's clean-up. Does nothing without systemd. A
/// failure is a line on the error stream.
void stopService();

}  // namespace quorlin
