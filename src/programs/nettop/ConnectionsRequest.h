/// The request for the connections of Connections.h.
#pragma once

#include <span>

namespace quorlin {

/// A message for the kernel's socket diagnostics. It has the kernel choose the connections, so that the
/// others cost little.
std::span<const char> connectionsRequest();

}  // namespace quorlin
