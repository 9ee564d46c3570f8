#include "helper/ChargePolicy.h"

namespace quorlin {

ChargeDecision decideCharge(std::int64_t limitPercent, std::int64_t levelPercent, std::int32_t batteryState,
                            bool holding) {
  const bool limited = limitPercent >= kLowestHeldLimit && limitPercent <= kHighestHeldLimit;
  if (limited && levelPercent >= limitPercent) {
    if (batteryState == kCharging) return ChargeDecision::Hold;
    if (batteryState == kOnBattery && holding) return ChargeDecision::Release;
    return ChargeDecision::Nothing;
  }
  const bool heldBelowLimit = limited && batteryState == kNotCharging;
  return holding || heldBelowLimit ? ChargeDecision::Release : ChargeDecision::Nothing;
}

}  // namespace quorlin
