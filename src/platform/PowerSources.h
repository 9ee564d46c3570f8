/// The machine's batteries.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace quorlin {

/// One battery. Both capacities are in the same unit, which depends on the source.
struct PowerSourceDescription {
  std::optional<std::int32_t> maximumCapacity;
  std::optional<std::int32_t> currentCapacity;
  std::optional<bool> isCharging;
  /// Also on external power, when that is too weak for the computer.
  bool isDischarging = false;
};

/// Sources in a stable order; one without a description is listed too.
using PowerSourceList = std::vector<std::optional<PowerSourceDescription>>;

class PowerSources {
 public:
  /// The estimate of a machine on external power, exactly.
  static constexpr double kTimeRemainingUnlimited = -2.0;
  /// The estimate while it is still being computed.
  static constexpr double kTimeRemainingUnknown = -1.0;

  virtual ~PowerSources() = default;

  /// The current state, or nothing if the system keeps none.
  virtual std::optional<PowerSourceList> copyPowerSources() = 0;

  /// Seconds, or one of the two constants.
  virtual double timeRemainingEstimate() = 0;
};

}  // namespace quorlin
