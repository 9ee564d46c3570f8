#include "helper/ChargeHold.h"

#include "core/Settings.h"
#include "helper/ChargePolicy.h"
#include "probes/BatteryInformation.h"

#include <utility>
#include <vector>

namespace quorlin {

ChargeHold::ChargeHold(UserDefaults& userDefaults, PowerSources& powerSources, Log& log,
                       LimitCharge limitCharge, std::function<void()> changed)
    : userDefaults_(userDefaults),
      powerSources_(powerSources),
      log_(log),
      limitCharge_(std::move(limitCharge)),
      changed_(std::move(changed)) {}

void ChargeHold::readSettings() { powerLimitEnabled_ = userDefaults_.boolean(setting::kPowerLimitEnabled); }

void ChargeHold::start() {
  const std::int64_t limit = userDefaults_.integer(setting::kBatteryLimit);
  powerLimit_ = limit >= 1 ? limit : kHighestBatteryLimit;
  macHasBattery_ = batteryInfo(powerSources_).front();
}

void ChargeHold::setPowerLimitEnabled(bool enabled) {
  powerLimitEnabled_ = enabled;
  userDefaults_.setBoolean(setting::kPowerLimitEnabled, enabled);
  changed_();
}

bool ChargeHold::setLimit(std::int64_t percent) {
  if (percent < kLowestBatteryLimit || percent > kHighestBatteryLimit) return false;
  powerLimit_ = percent;
  userDefaults_.setInteger(setting::kBatteryLimit, percent);
  changed_();
  if (percent == kHighestBatteryLimit) limitThenRecord(true);
  return true;
}

void ChargeHold::followBattery() {
  std::int32_t level = 0;
  if (macHasBattery_ != kNoBattery) {
    const std::vector<std::int32_t> battery = batteryInfo(powerSources_);
    macHasBattery_ = battery[0];
    level = battery[1];
  }
  const ChargeDecision decision = decideCharge(powerLimit_, level, macHasBattery_, powerLimitEnabled_);
  if (decision == ChargeDecision::Hold && isEnding_) return;
  if (decision != ChargeDecision::Nothing) limitThenRecord(decision == ChargeDecision::Release);
}

void ChargeHold::releaseWithoutConsumers() {
  if (macHasBattery_ != kNoBattery) release();
}

void ChargeHold::release() {
  if (!powerLimitEnabled_) return;
  limitCharge_(
      [this](const std::optional<std::string>& reply) {
        log_.line(reply.value_or("(null)"));
        setPowerLimitEnabled(false);
      },
      true);
}

void ChargeHold::releaseFinallyThen(std::function<void()> action) {
  isEnding_ = true;
  limitThenRecord(true, std::move(action));
}

void ChargeHold::limitThenRecord(bool mode, std::function<void()> then) {
  limitCharge_(
      [this, mode, then = std::move(then)](const std::optional<std::string>& reply) {
        setPowerLimitEnabled(!mode);
        log_.line(reply.value_or("(null)"));
        then();
      },
      mode);
}

}  // namespace quorlin
