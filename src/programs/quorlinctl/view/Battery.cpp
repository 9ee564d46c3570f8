#include "programs/quorlinctl/view/Battery.h"

#include "probes/BatteryInformation.h"

namespace quorlin {

Battery readBattery(PowerSources& sources) {
  const std::vector<std::int32_t> info = batteryInfo(sources);
  Battery battery{.state = static_cast<BatteryState>(info[0]), .percent = std::nullopt};
  if (info[0] != kNoBattery && info[1] > 0) battery.percent = info[1];
  return battery;
}

std::string_view wordOf(BatteryState state) {
  switch (state) {
    case kOnBattery:
      return "on-battery";
    case kCharging:
      return "charging";
    case kNotCharging:
      return "not-charging";
    case kNoBattery:
      break;
  }
  return "none";
}

}  // namespace quorlin
