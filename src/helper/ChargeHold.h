/// Holds the battery's charge at a limit through the root helper.
#pragma once

#include "platform/Log.h"
#include "platform/PowerSources.h"
#include "platform/UserDefaults.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace quorlin {

/// Main thread only, except setPowerLimitEnabled. The helper's reply is only logged: a request
/// counts as done once it is answered.
class ChargeHold {
 public:
  using Reply = std::function<void(const std::optional<std::string>&)>;
  /// Asks the helper, with mode false to hold and with true to release.
  using LimitCharge = std::function<void(const Reply& reply, bool mode)>;

  /// Calls changed after each change of the limit or the hold, on the thread that made it. The services
  /// outlive it.
  ChargeHold(UserDefaults& userDefaults, PowerSources& powerSources, Log& log, LimitCharge limitCharge,
             std::function<void()> changed);

  /// Whether an earlier run held the charge.
  void readSettings();

  /// Reads the limit and the battery. Until then both are absent.
  void start();

  std::int64_t powerLimit() const { return powerLimit_; }
  bool powerLimitEnabled() const { return powerLimitEnabled_; }
  /// Any thread.
  void setPowerLimitEnabled(bool enabled);

  /// Stores a limit in the allowed range; the highest also releases the charge. Returns false for other
  /// values.
  bool setLimit(std::int64_t percent);

  /// While a consumer runs: looks at the battery, and holds or releases.
  void followBattery();

  void releaseWithoutConsumers();

  /// Lets go of the charge if it is held.
  void release();

  /// Calls the action once the helper has replied. Nothing is held any more from now on.
  void releaseFinallyThen(std::function<void()> action);

 private:
  void limitThenRecord(
      bool mode, std::function<void()> then = [] {});

  UserDefaults& userDefaults_;
  PowerSources& powerSources_;
  Log& log_;
  LimitCharge limitCharge_;
  std::function<void()> changed_;
  std::atomic<std::int64_t> powerLimit_ = 0;
  std::atomic<bool> powerLimitEnabled_ = false;
  std::int32_t macHasBattery_ = 0;
  bool isEnding_ = false;
};

}  // namespace quorlin
