/// Batteries that the test sets.
#pragma once

#include "platform/PowerSources.h"

#include <optional>

namespace quorlin {

class FakePowerSources final : public PowerSources {
 public:
  std::optional<PowerSourceList> sources;
  double estimate = kTimeRemainingUnknown;

  std::optional<PowerSourceList> copyPowerSources() override { return sources; }
  double timeRemainingEstimate() override { return estimate; }

  void setBattery(std::int32_t percent, bool onExternalPower, bool charging) {
    sources = PowerSourceList{PowerSourceDescription{100, percent, charging}};
    estimate = onExternalPower ? kTimeRemainingUnlimited : kTimeRemainingUnknown;
  }
};

}  // namespace quorlin
