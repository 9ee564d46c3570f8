/// What the agent can be asked to do: each request reaches it as the URL that the main application would
/// send.
#pragma once

#include "programs/quorlinctl/commands/Arguments.h"

namespace quorlin {

/// Why a request will not have its effect.
struct Objection {
  std::string reason;
  /// Not only a warning: nothing is sent.
  bool isRefusal = false;
};

struct AgentRequest {
  /// Of urlcommand.
  std::string_view word;
  /// Makes the URL's argument, in UTF-8.
  Result<std::string, UsageError> (*read)(const std::vector<std::string>& operands) = nullptr;
  /// Confirms what was sent; {} stands for the argument.
  const char* confirmation = "";
  /// Returns why the argument should not be sent; may be null.
  std::optional<Objection> (*check)(const std::string& argument) = nullptr;
  /// Does what the subcommand's option says, after the request, or without one where no operand is given.
  /// Returns the process's exit status. May throw BusError. Null where the subcommand has no options; of
  /// several, one at a time may be given.
  Result<int, UsageError> (*followOption)(const ParsedArguments& arguments) = nullptr;
};

/// Reads, checks and sends a request, and says so. Returns the process's exit status. The agent reports
/// nothing back. Throws BusError.
Result<int, UsageError> sendRequest(const AgentRequest& request, const ParsedArguments& arguments);

/// SCHEME://KEY/COMMAND/ARGUMENT with this computer's key and the argument percent-encoded.
std::string commandUrl(const std::optional<std::string>& key, std::string_view command,
                       std::string_view argument);

}  // namespace quorlin
