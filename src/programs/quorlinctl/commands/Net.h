/// quorlinctl net: asks the agent once which applications use the network.
#pragma once

#include "platform/values/Tick.h"

#include <chrono>

namespace quorlin {

inline constexpr std::chrono::milliseconds kAnswerPatience = 5 * kTick;

struct NetOptions {
  bool json = false;
  /// How long to wait for the agent's answer.
  std::chrono::milliseconds timeout = kAnswerPatience;
};

/// Returns the process's exit status.
int showNetworkApplications(const NetOptions& options);

}  // namespace quorlin
