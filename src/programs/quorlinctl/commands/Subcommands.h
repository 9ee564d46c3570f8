/// The table of subcommands: parsing and help read it.
#pragma once

#include "programs/quorlinctl/commands/AgentRequest.h"
#include "programs/quorlinctl/commands/Arguments.h"

#include <span>
#include <variant>

namespace quorlin {

struct ExitStatus {
  const char* status = "";
  const char* meaning = "";
};

/// Returns the process's exit status.
using Run = Result<int, UsageError> (*)(const ParsedArguments&);

struct Subcommand {
  const char* name = "";
  /// One line, as the list of subcommands shows it.
  const char* summary = "";
  Operands operands = {};
  /// Paragraphs of one line each.
  const char* description = "";
  /// Besides --help.
  std::vector<Option> options = {};
  /// Besides 2 for wrong usage. A request to the agent has those of all requests.
  std::vector<ExitStatus> exitStatuses = {};
  std::variant<Run, AgentRequest> action = Run(nullptr);
};

std::span<const Subcommand> subcommands();

}  // namespace quorlin
