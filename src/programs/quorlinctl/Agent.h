/// The agent as the session bus knows it.
#pragma once

#include "platform/linux/Bus.h"

#include <optional>

#include <sys/types.h>

namespace quorlin {

struct RunningAgent {
  pid_t process = 0;
};

/// The owner of the agent's name, or nothing. Throws BusError.
std::optional<RunningAgent> findAgent(const Bus& bus);

}  // namespace quorlin
