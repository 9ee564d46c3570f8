#include "platform/linux/power/PowerSources.h"

#include "platform/linux/power/SystemBatteries.h"

#include <algorithm>
#include <string_view>

namespace quorlin {
namespace {

std::optional<bool> isCharging(std::string_view status) {
  if (status == "Charging") return true;
  if (status == "Discharging" || status == "Not charging" || status == "Full") return false;
  return std::nullopt;
}

std::optional<PowerSourceDescription> describe(const std::filesystem::path& battery) {
  PowerSourceDescription description;
  const std::string status = supplyText(battery, "status");
  description.isCharging = isCharging(status);
  description.isDischarging = status == "Discharging";
  for (const std::string unit : {"energy", "charge"}) {
    const auto full = supplyNumber(battery, unit + "_full");
    const auto now = supplyNumber(battery, unit + "_now");
    if (!full || *full == 0 || !now) continue;
    description.maximumCapacity = full;
    // A battery may hold more than its driver has learnt.
    description.currentCapacity = std::min(*now, *full);
    return description;
  }
  const auto percent = supplyNumber(battery, "capacity");
  // It was pulled out just now.
  if (!percent && !description.isCharging) return std::nullopt;
  description.maximumCapacity = 100;
  if (percent) description.currentCapacity = std::min(*percent, 100);
  return description;
}

}  // namespace

std::optional<PowerSourceList> SysfsPowerSources::copyPowerSources() {
  std::error_code error;
  if (!std::filesystem::is_directory(sysfsRoot_ / "class/power_supply", error)) return std::nullopt;
  PowerSourceList sources;
  for (const auto& battery : systemBatteries(sysfsRoot_)) sources.push_back(describe(battery));
  return sources;
}

double SysfsPowerSources::timeRemainingEstimate() {
  return isOnExternalPower() ? kTimeRemainingUnlimited : kTimeRemainingUnknown;
}

bool SysfsPowerSources::isOnExternalPower() const {
  bool isKnown = false;
  for (const auto& supply : externalSupplies(sysfsRoot_)) {
    // 1 is fixed and 2 programmable (Documentation/ABI/testing/sysfs-class-power).
    const auto online = supplyNumber(supply, "online");
    if (online && *online != 0) return true;
    isKnown = isKnown || online;
  }
  if (isKnown) return false;

  // Without such a driver, a battery that is not discharging shows it too. Without a battery nothing does: a
  // tablet that lacks the driver of its battery looks like a desktop computer.
  bool isFed = false;
  for (const auto& battery : systemBatteries(sysfsRoot_)) {
    const std::string status = supplyText(battery, "status");
    if (status == "Discharging") return false;
    isFed = isFed || isCharging(status).has_value();
  }
  return isFed;
}

}  // namespace quorlin
