#include "platform/linux/sensors/LinuxSensorsEngine.h"

#include "platform/linux/sensors/LinuxStatisticsData.h"
#include "platform/values/Sentence.h"

#include <utility>

namespace quorlin {

LinuxSensorsEngine::LinuxSensorsEngine(const SystemRoots& roots, Log& log, MonotonicClock clock)
    : sysfsRoot_(roots.sysfs.string()),
      log_(log),
      clock_(std::move(clock)),
      hwmonWatch_(sysfsRoot_ + "/class/hwmon"),
      thermalWatch_(sysfsRoot_ + "/class/thermal"),
      diskReader_(sysfsRoot_, roots.procfs.string(), log),
      sensorReader_(log) {}

std::unique_ptr<SensorsReading> LinuxSensorsEngine::getSensorsInfo(StatisticsData& /*fresh*/) {
  discoverIfChanged();
  auto reading = std::make_unique<LinuxSensorsReading>();
  reading->time = clock_();
  reading->disks = diskReader_.read();
  reading->catalogue = catalogue_;
  reading->values = sensorReader_.read(reading->time, reading->disks);
  return reading;
}

void LinuxSensorsEngine::discoverIfChanged() {
  // Ask both, so that neither reports its change again at the next reading.
  const bool chipsChanged = hwmonWatch_.hasChanged();
  const bool zonesChanged = thermalWatch_.hasChanged();
  if (!chipsChanged && !zonesChanged && !discoveryIsDue_ && !sensorReader_.foundStale()) return;

  const Discovery discovery = discoverSensors(sysfsRoot_);
  discoveryIsDue_ = !discovery.complete;
  // An earlier complete discovery is better than one that lacked descriptors.
  if (discoveryIsDue_ && catalogue_) return;
  for (const FoundChip& chip : discovery.chips) {
    if (!chip.name.empty() || !nameless_.insert(chip.idPrefix).second) continue;
    log_.line(
        filledIn("The sensor chip at {} has no name and is shown as {}", {chip.directory, chip.displayName}));
  }
  catalogue_ = std::make_shared<const SensorCatalogue>(catalogueOf(discovery.chips));
  sensorReader_.adopt(discovery.chips, catalogue_);
}

SensorsEngineFactory makeLinuxSensorsEngine(SystemRoots roots, Log& log) {
  return {.makeEngine =
              [roots = std::move(roots), &log] {
                return std::make_unique<LinuxSensorsEngine>(roots, log, [] {
                  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch());
                });
              },
          .makeStatisticsData = [] { return std::make_unique<LinuxStatisticsData>(); }};
}

}  // namespace quorlin
