/// The batteries in /sys/class/power_supply.
#pragma once

#include "platform/PowerSources.h"

#include <filesystem>

namespace quorlin {

class SysfsPowerSources final : public PowerSources {
 public:
  explicit SysfsPowerSources(std::filesystem::path sysfsRoot) : sysfsRoot_(std::move(sysfsRoot)) {}

  std::optional<PowerSourceList> copyPowerSources() override;
  double timeRemainingEstimate() override;

 private:
  std::filesystem::path sysfsRoot_;
};

}  // namespace quorlin
