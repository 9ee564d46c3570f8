/// The table of subcommands, which parsing and help read, and what the subcommands do.
#pragma once

#include "programs/quorlinctl/commands/AgentRequest.h"
#include "programs/quorlinctl/commands/Arguments.h"

#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quorlin {

/// Returns the process's exit status. Throws BusError.
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
  /// Each with its meaning, besides 2 for wrong usage. A request to the agent has those of all requests.
  std::vector<std::pair<std::string, const char*>> exitStatuses = {};
  std::variant<Run, AgentRequest> action = Run(nullptr);
};

std::span<const Subcommand> subcommands();

/// What --help prints: the list of subcommands, or the description of one.
std::string helpOfProgram();
std::string helpOf(const Subcommand& subcommand);

/// Shows samples as they come, until a signal or until there is nothing more to show.
Result<int, UsageError> watch(const ParsedArguments& given);

/// Asks the agent once which applications use the network.
Result<int, UsageError> showNetworkApplications(const ParsedArguments& given);

/// Switches the sensors plug-in or the core helper, as the window's switches do.
Result<int, UsageError> enableFeature(const ParsedArguments& given);
Result<int, UsageError> disableFeature(const ParsedArguments& given);

/// Sets the charge limit, or shows it; tells what becomes of it.
Result<int, UsageError> limitBattery(const ParsedArguments& given);

/// Installs or removes the root helper. The exit status of installing is the installer's.
Result<int, UsageError> changeHelper(const ParsedArguments& given);

}  // namespace quorlin
