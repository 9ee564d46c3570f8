/// The agent, as seen from the session bus.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <optional>
#include <string>

namespace quorlin {

/// The process that owns the agent's name, or nothing. Throws BusError.
std::optional<pid_t> findAgent(const Bus& bus);

/// Hands a URL to the agent, which the bus starts if it can, and returns once the agent has taken it. The
/// agent reports no result. Throws BusError, which says in plain words why the agent did not take the URL.
void openUrl(const Bus& bus, const std::string& url);

}  // namespace quorlin
