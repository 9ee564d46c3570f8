/// Finds out what decides about the hold.
#pragma once

#include "programs/quorlinctl/hold/HoldVerdict.h"

namespace quorlin {

/// Asks both buses, the settings and the machine; what does not answer is told in the facts.
HoldFacts gatherHoldFacts();

}  // namespace quorlin
