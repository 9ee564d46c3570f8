/// The battery as watch shows it beside the agent's samples, which do not tell of it.
#pragma once

#include "core/ChargeDecision.h"
#include "platform/PowerSources.h"

#include <optional>
#include <string_view>

namespace quorlin {

struct Battery {
  BatteryState state = kNoBattery;
  /// 1 to 100, or nothing where it is not known.
  std::optional<int> percent;

  friend bool operator==(const Battery&, const Battery&) = default;
};

/// The state of this moment, as the agent takes it too.
Battery readBattery(PowerSources& sources);

/// "none", "on-battery", "charging" or "not-charging".
std::string_view wordOf(BatteryState state);

}  // namespace quorlin
