/// The keeper, quorlin-keep: a consumer without a window, for which the agent holds the battery's charge.
#pragma once

#include "platform/linux/bus/Bus.h"
#include "platform/values/Result.h"

#include <optional>
#include <string>

namespace quorlin {

/// Whether a keeper runs in the session. Throws BusError.
bool isKept(const Bus& session);

/// Has the desktop start a keeper at every login, and starts one now where none runs; returns once it has its
/// name. Throws BusError.
std::optional<Trouble> keepRunning(const Bus& session);

/// The opposite of both; returns once the keeper has left. Throws BusError.
std::optional<Trouble> stopKeeping(const Bus& session);

/// Carries out --keep or --no-keep. Returns what was done, in whole sentences. Throws BusError.
Result<std::string> changeKeeping(bool keep);

}  // namespace quorlin
