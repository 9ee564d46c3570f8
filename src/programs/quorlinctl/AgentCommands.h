/// What the agent can be told: each command goes to it as the URL that the main application would send.
#pragma once

#include "quorlinctl/Arguments.h"

#include <filesystem>
#include <optional>

namespace quorlin {

/// SCHEME://KEY/COMMAND/ARGUMENT with this computer's key, the argument percent-encoded.
std::string commandUrl(const std::optional<std::string>& key, std::string_view command,
                       std::string_view argument);

/// Why the agent could not run a workflow, or an empty text.
std::string obstacleTo(const std::filesystem::path& workflow);

/// Each sends one command, says so and returns the process's exit status. Nothing comes back from the agent.
int sendBatteryLimit(const BatteryLimitOptions& options);
int sendTerminate(const ProcessOptions& options);
int sendForceTerminate(const ProcessOptions& options);
int sendTerminalCommand(const TerminalOptions& options);
int sendWorkflow(const WorkflowOptions& options);

}  // namespace quorlin
