/// The command line from its first argument on.
#pragma once

#include "programs/quorlinctl/commands/Arguments.h"

namespace quorlin {

/// Does what the arguments, without the program's name, ask for. Returns the process's exit status.
int runCommandLine(Arguments arguments);

}  // namespace quorlin
