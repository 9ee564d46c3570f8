/// The agent as the session bus knows it.
#pragma once

#include "platform/linux/Bus.h"

#include <optional>
#include <string>

namespace quorlin {

/// The process that owns the agent's name, or nothing. Throws BusError.
std::optional<pid_t> findAgent(const Bus& bus);

/// Hands a URL to the agent, which the bus starts where it can, and returns the agent's process, where it
/// still runs, once it has taken the URL; what it does with it, it tells nobody. Throws BusError, which says
/// in plain words why that did not happen.
std::optional<pid_t> openUrl(const Bus& bus, const std::string& url);

}  // namespace quorlin
