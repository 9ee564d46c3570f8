/// The batteries in /sys/class/power_supply.
#pragma once

#include "platform/PowerSources.h"

#include <filesystem>

namespace quorlin {

/// Capacities in the unit in which the driver counts: energy, charge or percent.
class SysfsPowerSources final : public PowerSources {
 public:
  explicit SysfsPowerSources(std::filesystem::path sysfsRoot) : sysfsRoot_(std::move(sysfsRoot)) {}

  std::optional<PowerSourceList> copyPowerSources() override;

  /// Never seconds: the kernel estimates nothing.
  double timeRemainingEstimate() override;

 private:
  bool isOnExternalPower() const;

  std::filesystem::path sysfsRoot_;
};

}  // namespace quorlin
