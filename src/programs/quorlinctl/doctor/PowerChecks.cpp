/// The checks of the kernel's support for power metrics and for holding the charge.
#include "platform/linux/power/ChargeOffer.h"
#include "platform/linux/power/PowerSources.h"
#include "platform/linux/power/SystemBatteries.h"
#include "platform/linux/sensors/Drivers.h"
#include "platform/linux/system/CpuInfo.h"
#include "platform/posix/TextFile.h"
#include "probes/BatteryInformation.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/doctor/Machine.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>

namespace quorlin {
namespace {

/// The charge as the agent calculates it, and what the driver says.
std::string stateOf(const std::filesystem::path& battery,
                    const std::optional<PowerSourceDescription>& source) {
  constexpr std::array<std::pair<std::string_view, const char*>, 4> sentences = {
      {{"Charging", "{} is charging."},
       {"Discharging", "{} is discharging."},
       {"Not charging", "{} is not charging."},
       {"Full", "{} is full."}}};
  const std::string name = displayText(battery.filename().native());
  const std::int32_t percent = batteryInfo({{source}}, PowerSources::kTimeRemainingUnknown)[1];
  const std::string charge = percent == 0 ? fmt::format("The charge of {} is unknown.", name)
                                          : fmt::format("The charge of {} is {} %.", name, percent);
  const auto* const state =
      std::ranges::find(sentences, supplyText(battery, "status"), &decltype(sentences)::value_type::first);
  return fmt::format("{} {}", charge,
                     state == sentences.end() ? fmt::format("The state of {} is unknown.", name)
                                              : fmt::format(fmt::runtime(state->second), name));
}

}  // namespace

Finding checkEnergyCounters(const SystemRoots& roots) {
  // Documentation/power/powercap/powercap.rst: the first package's zone.
  const std::filesystem::path zone = roots.sysfs / "class/powercap/intel-rapl:0";
  std::error_code ignored;
  if (std::filesystem::exists(zone, ignored)) {
    return {CheckState::Ok, fmt::format("The energy counters are in {}.", zone.string())};
  }
  const std::string vendor = processorField(roots.procfs, "vendor_id");
  // arch/x86/events/rapl.c: AMD's processors have them since family 17h.
  const std::string family = processorField(roots.procfs, "cpu family");
  const bool isTooOld = vendor == "AuthenticAMD" && std::strtol(family.c_str(), nullptr, 10) < 0x17;
  if (isTooOld || processorDriverOf(vendor).empty()) {
    return {CheckState::Note, "This kind of processor has no known energy counters."};
  }
  return driverMissing(
      roots, fmt::format("The {} processor has no energy counters (RAPL) in {}.", vendor, zone.string()),
      "intel_rapl_msr");
}

Finding checkBattery(const SystemRoots& roots) {
  const std::vector<std::filesystem::path> batteries = systemBatteries(roots.sysfs);
  if (batteries.empty()) return {CheckState::Note, "This computer has no battery."};
  PowerSourceList sources = SysfsPowerSources(roots.sysfs).copyPowerSources().value_or(PowerSourceList());
  sources.resize(batteries.size());
  std::vector<std::string> states;
  for (std::size_t i = 0; i < batteries.size(); ++i) states.push_back(stateOf(batteries[i], sources[i]));
  return {CheckState::Ok, fmt::format("{}", fmt::join(states, " "))};
}

Finding checkChargeControl(const SystemRoots& roots) {
  std::vector<std::string> entries;
  bool canHoldAll = true;
  for (const std::filesystem::path& battery : systemBatteries(roots.sysfs)) {
    const std::string name = displayText(battery.filename().native());
    const std::string_view control = chargeOfferOf(battery).attribute();
    canHoldAll = canHoldAll && !control.empty();
    entries.push_back(control.empty() ? fmt::format("The driver of {} cannot stop charging.", name)
                                      : fmt::format("The charge of {} can be held with {}.", name, control));
  }
  if (entries.empty()) return {CheckState::Ok, "This computer has no battery."};
  const std::string text = fmt::format("{}", fmt::join(entries, " "));
  if (canHoldAll) return {CheckState::Ok, text};
  return {CheckState::Note, text,
          "A newer kernel may help: drivers such as thinkpad_acpi, asus_wmi, huawei_wmi, lg_laptop, "
          "dell_laptop, toshiba_acpi, system76_acpi, msi_ec and cros_charge-control can stop charging."};
}

}  // namespace quorlin
