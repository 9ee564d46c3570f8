/// The agent as the session bus knows it.
#pragma once

#include "platform/linux/Bus.h"

#include <optional>
#include <string>

#include <sys/types.h>

namespace quorlin {

struct RunningAgent {
  pid_t process = 0;
};

/// The owner of the agent's name, or nothing. Throws BusError.
std::optional<RunningAgent> findAgent(const Bus& bus);

/// Hands a URL to the agent, which the bus starts where it can, and returns once the agent has taken it; what
/// it does with it, it tells nobody. Throws BusError, which says in plain words why that did not happen.
RunningAgent openUrl(const Bus& bus, const std::string& url);

}  // namespace quorlin
