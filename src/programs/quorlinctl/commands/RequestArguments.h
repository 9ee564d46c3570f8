/// The arguments of requests to the agent: how operands are read, and what speaks against sending them.
#pragma once

#include "programs/quorlinctl/commands/AgentRequest.h"

namespace quorlin {

/// 51 to 100, with or without a percent sign; only the options may leave it out.
Result<std::string, UsageError> readChargeLimit(const std::vector<std::string>& operands);
Result<std::string, UsageError> readProcess(const std::vector<std::string>& operands);
/// Several operands are joined with spaces, as ssh does.
Result<std::string, UsageError> readCommand(const std::vector<std::string>& operands);
/// Returns the absolute path, since the agent has its own working folder.
Result<std::string, UsageError> readFile(const std::vector<std::string>& operands);

/// Warns if the battery's charge would not be held.
std::optional<Objection> checkChargeLimit(const std::string& percent);
/// Warns of a process that does not exist.
std::optional<Objection> checkProcessExists(const std::string& process);
/// Refuses a file that the agent could not run.
std::optional<Objection> checkWorkflow(const std::string& path);

}  // namespace quorlin
