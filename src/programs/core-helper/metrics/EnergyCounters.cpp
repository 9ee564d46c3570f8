#include "programs/core-helper/metrics/EnergyCounters.h"

#include "platform/linux/sensors/Drivers.h"
#include "platform/posix/TextFile.h"
#include "programs/core-helper/metrics/CounterFile.h"

#include <map>
#include <utility>

namespace quorlin {
namespace {

/// No part of a computer uses more; a counter that was reset would seem to.
constexpr double kMostWatts = 10'000;

}  // namespace

std::vector<EnergyCounter> readProcessorEnergy(const std::filesystem::path& sysfsRoot) {
  const std::filesystem::path folder = sysfsRoot / "class/powercap";
  const std::string processor = readText((sysfsRoot / "devices/system/cpu/modalias").string()).value_or("");
  const bool isIntel = processor.find("ven0000") != std::string::npos;
  std::vector<EnergyCounter> counters;
  for (std::string& id : namesIn(folder.string()).value_or({})) {
    // "intel-rapl-mmio:0" counts the same energy once more.
    if (!id.starts_with("intel-rapl:")) continue;
    const std::filesystem::path zone = folder / id;
    std::string name = readText((zone / "name").string()).value_or("");
    // AMD's register counts the core on which it is read (MSR_AMD_CORE_ENERGY_STATUS), and the kernel reads
    // it on one of the package.
    if (name == "core" && !isIntel) continue;
    counters.push_back({.id = std::move(id),
                        .name = std::move(name),
                        .microjoules = readCounter(zone / "energy_uj"),
                        .range = readCounter(zone / "max_energy_range_uj").value_or(0)});
  }
  return counters;
}

std::vector<EnergyCounter> readGraphicsEnergy(const std::filesystem::path& sysfsRoot) {
  const std::filesystem::path folder = sysfsRoot / "class/hwmon";
  std::vector<EnergyCounter> counters;
  std::map<std::string, int> chipsOf;
  for (std::string& id : namesIn(folder.string()).value_or({})) {
    const std::filesystem::path chip = folder / id;
    std::string name = readText((chip / "name").string()).value_or("");
    const Driver* driver = driverOf(name);
    if (driver == nullptr || !driver->reportsEnergy) continue;
    // Those that sleep count too: the others keep their names.
    const int number = ++chipsOf[name];
    if (isAsleep(readText((chip / "device/power/runtime_status").string()).value_or(""))) continue;
    if (number > 1) name += ' ' + std::to_string(number);
    // Units: Documentation/hwmon/sysfs-interface.rst.
    std::optional<std::uint64_t> power = readCounter(chip / "power1_average");
    if (!power) power = readCounter(chip / "power1_input");
    counters.push_back({.id = std::move(id),
                        .name = std::move(name),
                        .microjoules = readCounter(chip / "energy1_input"),
                        .microwatts = power});
  }
  return counters;
}

std::optional<double> wattsBetween(const EnergyCounter& before, const EnergyCounter& after,
                                   std::chrono::nanoseconds elapsed) {
  if (before.id != after.id || before.name != after.name || elapsed.count() <= 0) return std::nullopt;
  std::optional<std::uint64_t> microjoules = risenBy(before.microjoules, after.microjoules);
  if (!microjoules && before.microjoules && after.microjoules && *before.microjoules <= after.range) {
    microjoules = after.range - *before.microjoules + *after.microjoules;
  }
  if (!microjoules) return std::nullopt;
  const double watts = static_cast<double>(*microjoules) * 1000 / static_cast<double>(elapsed.count());
  return watts <= kMostWatts ? std::optional(watts) : std::nullopt;
}

}  // namespace quorlin
