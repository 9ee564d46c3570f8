/// quorlinctl net: asks the agent once which applications use the network.
#pragma once

#include "quorlinctl/Arguments.h"

namespace quorlin {

/// Returns the process's exit status.
int showNetworkApplications(const NetOptions& options);

}  // namespace quorlin
