/// The battery, which watch shows beside the agent's samples, since they lack it.
#pragma once

#include "helper/ChargePolicy.h"
#include "platform/PowerSources.h"

#include <optional>
#include <string_view>
#include <vector>

namespace quorlin {

struct Battery {
  BatteryState state = kNoBattery;
  /// 0 to 100, or nothing if it is unknown.
  std::optional<int> percent;
  /// Though on external power, which is too weak for the computer.
  bool isDischarging = false;

  friend bool operator==(const Battery&, const Battery&) = default;
};

/// The current state of each battery, calculated as the agent does.
std::vector<Battery> readBatteries(PowerSources& sources);

/// "none", "on-battery", "charging", "not-charging" or "discharging".
std::string_view wordOf(const Battery& battery);

}  // namespace quorlin
