#include "programs/quorlinctl/view/Battery.h"

#include "probes/BatteryInformation.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace quorlin {

std::vector<Battery> readBatteries(PowerSources& sources) {
  const PowerSourceList found = sources.copyPowerSources().value_or(PowerSourceList());
  const double estimate = sources.timeRemainingEstimate();
  std::vector<Battery> batteries;
  for (const std::optional<PowerSourceDescription>& source : found) {
    const auto state = static_cast<BatteryState>(batteryInfo({{source}}, estimate)[0]);
    if (state == kNoBattery) continue;
    Battery battery{.state = state,
                    .percent = std::nullopt,
                    .isDischarging = state == kNotCharging && source->isDischarging};
    // The agent takes an empty battery for one whose charge is unknown.
    if (source->currentCapacity && source->maximumCapacity.value_or(0) > 0) {
      const std::int64_t hundred = 100;
      const std::int64_t percent = *source->currentCapacity * hundred / *source->maximumCapacity;
      battery.percent = static_cast<int>(std::clamp<std::int64_t>(percent, 0, hundred));
    }
    batteries.push_back(battery);
  }
  return batteries;
}

std::string_view wordOf(const Battery& battery) {
  if (battery.isDischarging) return "discharging";
  constexpr std::array words = {"none", "on-battery", "charging", "not-charging"};
  static_assert(words.size() == kNotCharging + 1);
  return words[static_cast<std::size_t>(battery.state)];
}

}  // namespace quorlin
