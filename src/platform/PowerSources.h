/// The machine's batteries.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace quorlin {

/// One battery. Capacities are in whatever unit the source uses, the same for both.
struct PowerSourceDescription {
  std::optional<std::int32_t> maximumCapacity;
  std::optional<std::int32_t> currentCapacity;
  std::optional<bool> isCharging;
};

/// Sources in a stable order; one without a description is there all the same.
using PowerSourceList = std::vector<std::optional<PowerSourceDescription>>;

class PowerSources {
 public:
  /// The estimate of a machine on external power, exactly.
  static constexpr double kTimeRemainingUnlimited = -2.0;
  /// The estimate while it is still being computed.
  static constexpr double kTimeRemainingUnknown = -1.0;

  virtual ~PowerSources() = default;

  /// The state of this moment, or nothing where the system keeps none.
  virtual std::optional<PowerSourceList> copyPowerSources() = 0;

  /// Seconds, or one of the two constants.
  virtual double timeRemainingEstimate() = 0;
};

}  // namespace quorlin
