/// A power source condensed into a state and a percentage.
#pragma once

#include "platform/PowerSources.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace quorlin {

/// Two integers: a BatteryState, and the charge in percent, 0 when it is unknown or outside 1 to 100. Looks
/// at the first source only.
std::vector<std::int32_t> batteryInfo(const std::optional<PowerSourceList>& sources,
                                      double timeRemainingEstimate);

/// The same of this moment.
std::vector<std::int32_t> batteryInfo(PowerSources& powerSources);

}  // namespace quorlin
