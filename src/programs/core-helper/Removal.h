/// The helper's way off the machine: marked while it runs in its sandbox, done when it has ended.
#pragma once

#include "core-helper/Setup.h"
#include "platform/posix/FileDescriptor.h"

namespace quorlin {

/// Throws std::system_error, as do the next two.
void markForRemoval(const Setup& setup);

/// Takes a mark away that stands already.
void keepInstalled(const Setup& setup);

/// Waits until nobody else installs or removes, and has them wait while the descriptor is open. It is that of
/// the state folder, which only root can open: flock(2) lets any user lock what can be read, as / can. Empty
/// where there is no such folder and none is to be made.
FileDescriptor lockInstallation(const Setup& setup, bool makesFolder);

/// Releases a charge that an ended helper left held, and removes the helper where that was asked for. Throws
/// std::system_error, and what removeHelper throws.
void cleanUpAfterStop(const Setup& setup);

}  // namespace quorlin
