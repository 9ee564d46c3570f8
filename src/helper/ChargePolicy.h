/// When to hold the battery's charge and when to release it.
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

/// The limits at which the charge is held, in percent.
inline constexpr int kLowestHeldLimit = 50;
inline constexpr int kHighestHeldLimit = 99;

/// The limits that a command may set. 100 means no limit; 50 can only come from the settings file.
inline constexpr int kLowestBatteryLimit = 51;
inline constexpr int kHighestBatteryLimit = 100;

enum class ChargeDecision { Nothing, Hold, Release };

/// While a consumer runs.
ChargeDecision decideCharge(std::int64_t limitPercent, std::int64_t levelPercent, std::int32_t batteryState,
                            bool holding);

}  // namespace quorlin
