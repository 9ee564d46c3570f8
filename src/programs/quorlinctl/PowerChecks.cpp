/// The checks of what the kernel offers for power metrics and for holding the charge.
#include "platform/linux/CpuInfo.h"
#include "platform/linux/PowerSources.h"
#include "platform/linux/SystemBatteries.h"
#include "platform/posix/TextFile.h"
#include "probes/BatteryInformation.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Machine.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace quorlin {
namespace {

/// "BAT0: 63 %, charging", the charge as the agent reckons it.
std::string stateOf(const std::filesystem::path& battery,
                    const std::optional<PowerSourceDescription>& source) {
  const std::int32_t percent = batteryInfo({{source}}, PowerSources::kTimeRemainingUnknown)[1];
  std::string status = displayText(supplyText(battery, "status"));
  if (!status.empty() && status.front() >= 'A' && status.front() <= 'Z') status.front() += 'a' - 'A';
  return displayText(battery.filename().native()) + ": " +
         (percent == 0 ? "charge not told" : std::to_string(percent) + " %") + ", " +
         (status.empty() ? "state not told" : status);
}

/// The attribute by which the driver stops charging, or an empty text (Documentation/ABI/testing/
/// sysfs-class-power).
std::string chargeControlOf(const std::filesystem::path& battery) {
  std::string behaviours = " " + supplyText(battery, "charge_behaviour") + " ";
  // The one in force is in brackets.
  std::ranges::replace_if(
      behaviours, [](char letter) { return letter == '[' || letter == ']'; }, ' ');
  if (behaviours.find(" inhibit-charge ") != std::string::npos) return "charge_behaviour";
  return supplyText(battery, "charge_control_end_threshold").empty() ? "" : "charge_control_end_threshold";
}

void append(std::string& list, const std::string& entry) {
  if (!list.empty()) list += "; ";
  list += entry;
}

}  // namespace

CheckResult checkEnergyCounters(const SystemRoots& roots) {
  constexpr std::array<std::string_view, 3> vendors = {"GenuineIntel", "AuthenticAMD", "HygonGenuine"};
  const std::string subject = "processor power";
  // Documentation/power/powercap/powercap.rst: the first package's zone.
  const std::filesystem::path zone = roots.sysfs / "class/powercap/intel-rapl:0";
  std::error_code ignored;
  if (std::filesystem::exists(zone, ignored)) {
    return {CheckState::Ok, subject, "the energy counters of " + zone.string() + " are there", ""};
  }
  const std::string vendor = processorField(roots.procfs, "vendor_id");
  // arch/x86/events/rapl.c: AMD's processors have them since family 17h.
  const std::string family = processorField(roots.procfs, "cpu family");
  const bool isTooOld = vendor == "AuthenticAMD" && std::strtol(family.c_str(), nullptr, 10) < 0x17;
  if (isTooOld || std::ranges::find(vendors, vendor) == vendors.end()) {
    return {CheckState::Note, subject, "no energy counters are known for this kind of processor", ""};
  }
  return driverMissing(roots, subject,
                       "processor " + vendor + " without energy counters (RAPL) in " + zone.string(),
                       "intel_rapl_msr");
}

CheckResult checkBattery(const SystemRoots& roots) {
  std::string found;
  const std::vector<std::filesystem::path> batteries = systemBatteries(roots.sysfs);
  PowerSourceList sources = SysfsPowerSources(roots.sysfs).copyPowerSources().value_or(PowerSourceList());
  sources.resize(batteries.size());
  for (std::size_t i = 0; i < batteries.size(); ++i) append(found, stateOf(batteries[i], sources[i]));
  if (found.empty()) return {CheckState::Note, "battery", "this computer has none of its own", ""};
  return {CheckState::Ok, "battery", found, ""};
}

CheckResult checkChargeControl(const SystemRoots& roots) {
  const std::string subject = "charge hold";
  std::string able;
  std::string unable;
  for (const std::filesystem::path& battery : systemBatteries(roots.sysfs)) {
    const std::string name = displayText(battery.filename().native());
    const std::string control = chargeControlOf(battery);
    append(control.empty() ? unable : able, name);
    if (!control.empty()) able.append(": ").append(control);
  }
  if (able.empty() && unable.empty()) {
    return {CheckState::Ok, subject, "no battery, so nothing needs to be held", ""};
  }
  if (unable.empty()) return {CheckState::Ok, subject, able, ""};
  return {CheckState::Note, subject,
          (able.empty() ? "" : able + "; ") + unable + ": this driver offers no way to stop charging",
          "a newer kernel may: drivers such as thinkpad_acpi, asus_wmi, huawei_wmi, lg_laptop, dell_laptop, "
          "toshiba_acpi, system76_acpi, msi_ec and cros_charge-control can"};
}

}  // namespace quorlin
