/// The checks of the sensors and disks that the kernel shows.
#include "platform/linux/sensors/DiskCounters.h"
#include "platform/linux/sensors/Drivers.h"
#include "platform/linux/sensors/SensorDiscovery.h"
#include "platform/linux/system/CpuInfo.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/doctor/Machine.h"
#include "programs/quorlinctl/doctor/QuietLog.h"

#include <set>
#include <utility>

#include <fmt/format.h>

namespace quorlin {
namespace {

std::set<std::string> chipNames(const SystemRoots& roots) {
  std::set<std::string> names;
  for (const FoundChip& chip : discoverSensors(roots.sysfs.string()).chips) names.insert(chip.name);
  return names;
}

std::string countText(const SensorKindRow& kind, std::size_t count) {
  return count == 1 ? kind.countOfOne : fmt::format(fmt::runtime(kind.count), count);
}

}  // namespace

Finding checkSensors(const SystemRoots& roots) {
  const std::vector<FoundChip> chips = discoverSensors(roots.sysfs.string()).chips;
  PerKind<std::size_t> counts;
  for (const FoundChip& chip : chips) {
    for (const FoundChannel& channel : chip.channels) ++counts[channel.kind];
  }
  std::vector<std::string> found;
  found.reserve(kSensorKinds.size());
  for (const SensorKindRow& kind : kSensorKinds) {
    if (counts[kind.kind] > 0) found.push_back(countText(kind, counts[kind.kind]));
  }
  const std::string list = fmt::format("{}", fmt::join(found, ", "));
  if (chips.size() == 1) return {CheckState::Ok, fmt::format("The agent finds 1 chip with {}.", list)};
  if (!chips.empty()) {
    return {CheckState::Ok, fmt::format("The agent finds {} chips with {}.", chips.size(), list)};
  }
  return {CheckState::Missing,
          fmt::format("There are no sensors in {}.", (roots.sysfs / "class/hwmon").string()),
          signOfVirtualMachine(roots)
              ? "Run the agent on the real machine; a virtual one has no sensors."
              : "Load the drivers of the machine's sensors; sensors-detect of the package lm-sensors "
                "finds them."};
}

Finding checkProcessorDriver(const SystemRoots& roots) {
  const std::string vendor = processorField(roots.procfs, "vendor_id");
  const std::string driver(processorDriverOf(vendor));
  if (driver.empty()) return {CheckState::Note, "This kind of processor has no known driver."};
  if (chipNames(roots).contains(driver)) {
    return {CheckState::Ok, fmt::format("The driver {} is loaded.", driver)};
  }
  return driverMissing(
      roots, fmt::format("The {} processor needs the driver {}, which is not loaded.", vendor, driver),
      driver);
}

Finding checkDriveDriver(const SystemRoots& roots) {
  constexpr const char* driver = "drivetemp";
  std::vector<std::string> disks;
  for (const std::string& name : namesIn((roots.sysfs / "block").string()).value_or({})) {
    // libata gives every disk behind it this vendor (Documentation/scsi/scsi_mid_low_api.rst: INQUIRY).
    if (textIn(roots.sysfs / "block" / name / "device/vendor").starts_with("ATA")) disks.push_back(name);
  }
  if (disks.empty()) return {CheckState::Ok, "No SATA disk needs a driver."};
  if (chipNames(roots).contains(driver)) {
    return {CheckState::Ok, fmt::format("The driver {} is loaded.", driver)};
  }
  return driverMissing(
      roots,
      fmt::format("SATA disks ({}) need the driver {}, which is not loaded.", fmt::join(disks, ", "), driver),
      driver);
}

Finding checkDiskCounters(const SystemRoots& roots) {
  const std::string file = (roots.procfs / "diskstats").string();
  QuietLog log;
  const auto counters = DiskCounterReader(roots.sysfs.string(), roots.procfs.string(), log).read();
  if (!counters) {
    return {CheckState::Missing, fmt::format("The file {} cannot be read.", file),
            fmt::format("Check the permissions of {}.", file)};
  }
  if (counters->empty()) return {CheckState::Note, fmt::format("The file {} lists no physical disk.", file)};
  std::vector<std::string> names;
  for (const DiskCounters& disk : *counters) names.push_back(disk.name);
  return {CheckState::Ok, fmt::format("The agent counts the activity of {}.", fmt::join(names, ", "))};
}

}  // namespace quorlin
