#include "programs/quorlinctl/view/Battery.h"

#include "probes/BatteryInformation.h"

#include <array>

namespace quorlin {

Battery readBattery(PowerSources& sources) {
  const std::vector<std::int32_t> info = batteryInfo(sources);
  Battery battery{.state = static_cast<BatteryState>(info[0]), .percent = std::nullopt};
  if (info[0] != kNoBattery && info[1] > 0) battery.percent = info[1];
  return battery;
}

std::string_view wordOf(BatteryState state) {
  constexpr std::array words = {"none", "on-battery", "charging", "not-charging"};
  static_assert(words.size() == kNotCharging + 1);
  return words[static_cast<std::size_t>(state)];
}

}  // namespace quorlin
