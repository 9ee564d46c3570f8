/// What the keeper does: it gives the agent a reason to hold the battery's charge when nothing else does.
#pragma once

#include <chrono>

namespace quorlin {

/// Owns the main application's id on the session bus, so that the agent finds a consumer, and asks for no
/// samples. Any consumer may take the name over; it comes back when that one leaves. Has the bus start the
/// agent, and start it again when it leaves, unless the last start is less than shortestRun ago.
///
/// Returns 0 when the bus goes away, or at once where another keeper runs. It sleeps in between, without a
/// timer. Throws BusError.
int keepCharge(std::chrono::seconds shortestRun);

}  // namespace quorlin
