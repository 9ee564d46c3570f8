/// The battery, which watch shows beside the agent's samples, since they lack it.
#pragma once

#include "helper/ChargePolicy.h"
#include "platform/PowerSources.h"

#include <optional>
#include <string_view>

namespace quorlin {

struct Battery {
  BatteryState state = kNoBattery;
  /// 1 to 100, or nothing if it is unknown.
  std::optional<int> percent;

  friend bool operator==(const Battery&, const Battery&) = default;
};

/// The current state, calculated as the agent does.
Battery readBattery(PowerSources& sources);

/// "none", "on-battery", "charging" or "not-charging".
std::string_view wordOf(BatteryState state);

}  // namespace quorlin
