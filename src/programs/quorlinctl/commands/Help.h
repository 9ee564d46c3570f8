/// What --help prints, from the table of subcommands.
#pragma once

#include "programs/quorlinctl/commands/Subcommands.h"

#include <string>

namespace quorlin {

/// The list of subcommands.
std::string helpOfProgram();

std::string helpOf(const Subcommand& subcommand);

}  // namespace quorlin
