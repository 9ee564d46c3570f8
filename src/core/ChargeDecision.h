/// Whether the battery's charge is to be held, released or left alone.
#pragma once

#include <cstdint>

namespace quorlin {

/// The state codes of getBatteryInfo.
enum BatteryState : std::int32_t {
  kNoBattery = 0,
  kOnBattery = 1,
  kCharging = 2,
  kNotCharging = 3,
};

enum class ChargeDecision { Nothing, Hold, Release };

/// While a consumer runs. Limits outside 50 to 99 percent mean no limit.
ChargeDecision decideCharge(std::int64_t limitPercent, std::int64_t levelPercent, std::int32_t batteryState,
                            bool holding);

}  // namespace quorlin
