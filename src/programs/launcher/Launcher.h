/// What the launcher does: it has the session's bus start the agent in the background.
#pragma once

#include <chrono>

namespace quorlin {

/// Owns the launcher's name, by which the agent knows that it is to stay in the background, then has the bus
/// start it, so that the agent is the bus's or the service manager's child and outlives this process. Returns
/// once the agent says that it has launched, or runs already: 0, or with a message on the error stream why
/// not, also after so much time. Throws BusError.
int launchAgent(std::chrono::microseconds patience);

}  // namespace quorlin
