/// The few attributes of devices that belong to root and that the helper needs.
#pragma once

#include "programs/core-helper/Setup.h"

namespace quorlin {

/// Lends the helper's group what it writes of the system batteries and the energy counters that it reads,
/// until takeBackAttributes() or until the device goes. An attribute that its owner cannot write is not lent.
/// The helper also gets what root has written into its state folder. Root only. Throws InstallationError if
/// there is no such user.
void lendAttributes(const Setup& setup);

/// Makes these attributes root's alone again.
void takeBackAttributes(const Setup& setup);

}  // namespace quorlin
