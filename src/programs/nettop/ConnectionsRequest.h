/// The request for the connections that Connections.h tells.
#pragma once

#include <span>

namespace quorlin {

/// A message for the kernel's socket diagnostics, with the choice among the connections in it, so that the
/// others cost little.
std::span<const char> connectionsRequest();

}  // namespace quorlin
