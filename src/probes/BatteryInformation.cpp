#include "probes/BatteryInformation.h"

#include "core/AppDelegate.h"
#include "helper/ChargePolicy.h"

namespace quorlin {
namespace {

std::int32_t percentOf(std::int32_t current, std::int32_t maximum) {
  if (maximum <= 0) return 0;
  const float percent = static_cast<float>(current) / static_cast<float>(maximum) * 100.0F;
  // Compared before the conversion, which is undefined for values that an integer cannot hold.
  return percent >= 1.0F && percent < 101.0F ? static_cast<std::int32_t>(percent) : 0;
}

}  // namespace

std::vector<std::int32_t> batteryInfo(const std::optional<PowerSourceList>& sources,
                                      double timeRemainingEstimate) {
  if (!sources || sources->empty() || !sources->front()) return {kNoBattery, 0};
  const PowerSourceDescription& source = *sources->front();

  const std::int32_t percent = source.maximumCapacity && source.currentCapacity
                                   ? percentOf(*source.currentCapacity, *source.maximumCapacity)
                                   : 0;
  // Exactly the platform's constant, no tolerance.
  const bool unlimited = timeRemainingEstimate == PowerSources::kTimeRemainingUnlimited;
  if (unlimited) return {source.isCharging.value_or(true) ? kCharging : kNotCharging, percent};
  return {source.maximumCapacity ? kOnBattery : kNoBattery, percent};
}

std::vector<std::int32_t> batteryInfo(PowerSources& powerSources) {
  const std::optional<PowerSourceList> sources = powerSources.copyPowerSources();
  return batteryInfo(sources, powerSources.timeRemainingEstimate());
}

std::vector<std::int32_t> AppDelegate::getBatteryInfo() { return batteryInfo(services_.powerSources); }

}  // namespace quorlin
