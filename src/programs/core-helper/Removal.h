/// The helper's way off the machine: marked while it runs in its sandbox, done when it has ended.
#pragma once

#include "core-helper/Setup.h"

namespace quorlin {

/// Throws std::system_error.
void markForRemoval(const Setup& setup);

/// Releases a charge that an ended helper left held, and removes the helper where that was asked for. Throws
/// what removeHelper throws.
void cleanUpAfterStop(const Setup& setup);

}  // namespace quorlin
