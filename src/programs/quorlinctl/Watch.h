/// quorlinctl watch: shows samples as they come.
#pragma once

#include "quorlinctl/Arguments.h"

namespace quorlin {

/// Returns the process's exit status once it was told to leave or has nothing more to show.
int watch(const WatchOptions& options);

}  // namespace quorlin
