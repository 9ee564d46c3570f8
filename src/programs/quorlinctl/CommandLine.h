/// The table of subcommands.
#pragma once

#include "quorlinctl/Arguments.h"

namespace quorlin {

/// Runs what the arguments, without the program's name, ask for. Returns the process's exit status.
int runCommandLine(Arguments arguments);

}  // namespace quorlin
