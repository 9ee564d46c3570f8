/// The agent's pace.
#pragma once

#include <chrono>

namespace quorlin {

/// From one tick of the sampling loop to the next. Power metrics come with every second one.
inline constexpr std::chrono::milliseconds kTick{3000};
inline constexpr auto kPowerPeriod = 2 * kTick;

}  // namespace quorlin
