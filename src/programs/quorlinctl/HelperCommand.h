/// quorlinctl helper: brings the root helper onto the machine and off it.
#pragma once

#include "quorlinctl/Arguments.h"

namespace quorlin {

/// Returns the process's exit status: the installer's own when installing.
int changeHelper(const HelperOptions& options);

}  // namespace quorlin
