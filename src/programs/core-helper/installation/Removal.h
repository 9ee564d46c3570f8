/// The helper's removal: marked while it runs in its sandbox, carried out after its end.
#pragma once

#include "platform/posix/FileDescriptor.h"
#include "programs/core-helper/Setup.h"

namespace quorlin {

/// Throws InstallationError, as do all that follow.
void markForRemoval(const Setup& setup);

/// Removes an earlier mark.
void keepInstalled(const Setup& setup);

/// Lets one process at a time install or remove: the others wait while the descriptor is open. It is that of
/// the state folder, which only root and the helper can open: flock(2) lets any user lock what can be read,
/// such as /. Empty where that folder is absent and must not be made.
FileDescriptor lockInstallation(const Setup& setup, bool makesFolder);

/// Releases a charge that an ended helper left held.
void releaseLeftover(const Setup& setup);

/// The same; also takes back what the helper was lent, and removes the helper if it is marked.
void cleanUpAfterStop(const Setup& setup);

}  // namespace quorlin
