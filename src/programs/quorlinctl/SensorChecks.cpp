/// The checks of what the kernel shows of the machine.
#include "engine/DiskCounters.h"
#include "engine/SensorDiscovery.h"
#include "platform/linux/CpuInfo.h"
#include "platform/posix/TextFile.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Machine.h"
#include "quorlinctl/QuietLog.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace quorlin {
namespace {

std::string counted(std::size_t count, std::string_view what) {
  return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::set<std::string> chipNames(const SystemRoots& roots) {
  std::set<std::string> names;
  for (const FoundChip& chip : discoverSensors(roots.sysfs.string()).chips) names.insert(chip.name);
  return names;
}

}  // namespace

CheckResult checkSensors(const SystemRoots& roots) {
  const std::string subject = "sensors";
  const std::vector<FoundChip> chips = discoverSensors(roots.sysfs.string()).chips;
  std::size_t temperatures = 0;
  std::size_t fans = 0;
  for (const FoundChip& chip : chips) {
    for (const FoundChannel& channel : chip.channels) {
      ++(channel.kind == SensorKind::Temperature ? temperatures : fans);
    }
  }
  const std::string hwmon = (roots.sysfs / "class/hwmon").string();
  if (temperatures + fans == 0) {
    return {CheckState::Missing, subject, "no temperature and no fan in " + hwmon,
            signOfVirtualMachine(roots).empty()
                ? "load the drivers of the machine's sensors (sensors-detect of the "
                  "package lm-sensors finds them)"
                : "run the agent on the machine itself: a virtual one has no sensors"};
  }
  return {CheckState::Ok, subject,
          counted(chips.size(), "chip") + " with " + counted(temperatures, "temperature") + " and " +
              counted(fans, "fan"),
          ""};
}

CheckResult checkProcessorDriver(const SystemRoots& roots) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 3> drivers = {
      {{"GenuineIntel", "coretemp"}, {"AuthenticAMD", "k10temp"}, {"HygonGenuine", "k10temp"}}};
  const std::string subject = "processor temperature";
  const std::string vendor = processorField(roots.procfs, "vendor_id");
  const auto* found =
      std::ranges::find(drivers, vendor, &std::pair<std::string_view, std::string_view>::first);
  if (found == drivers.end()) {
    return {CheckState::Note, subject, "no driver is known for this kind of processor", ""};
  }
  const std::string driver(found->second);
  if (chipNames(roots).contains(driver))
    return {CheckState::Ok, subject, "the chip " + driver + " is there", ""};
  return driverMissing(roots, subject, "processor " + vendor + " without a chip " + driver, driver);
}

CheckResult checkDriveDriver(const SystemRoots& roots) {
  const std::string subject = "disk temperature";
  std::vector<std::string> disks;
  for (const std::string& name : namesIn((roots.sysfs / "block").string())) {
    // libata gives every disk behind it this vendor (Documentation/scsi/scsi_mid_low_api.rst: INQUIRY).
    if (textIn(roots.sysfs / "block" / name / "device/vendor").starts_with("ATA")) disks.push_back(name);
  }
  if (disks.empty()) return {CheckState::Ok, subject, "no SATA disk, so no driver is needed", ""};
  if (chipNames(roots).contains("drivetemp"))
    return {CheckState::Ok, subject, "the chip drivetemp is there", ""};
  return driverMissing(roots, subject, "SATA disks (" + joined(disks) + ") without a chip drivetemp",
                       "drivetemp");
}

CheckResult checkDiskCounters(const SystemRoots& roots) {
  const std::string subject = "disk activity";
  const std::string file = (roots.procfs / "diskstats").string();
  QuietLog log;
  const auto counters = DiskCounterReader(roots.sysfs.string(), roots.procfs.string(), log).read();
  if (!counters) {
    return {CheckState::Missing, subject, file + " cannot be read", "look at the permissions of " + file};
  }
  if (counters->empty()) {
    return {CheckState::Note, subject, file + " holds no disk with a device behind it", ""};
  }
  std::vector<std::string> names;
  for (const DiskCounters& disk : *counters) names.push_back(disk.name);
  return {CheckState::Ok, subject, "counted: " + joined(names), ""};
}

}  // namespace quorlin
