/// The sensors engine for Linux: puts discovery, sensors and disk counters together.
#pragma once

#include "platform/SensorsEngine.h"
#include "platform/linux/sensors/DirectoryWatch.h"
#include "platform/linux/sensors/DiskCounters.h"
#include "platform/linux/sensors/SensorReader.h"
#include "platform/linux/sensors/SensorsEngineFactory.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorlin {

using MonotonicClock = std::function<std::chrono::nanoseconds()>;

/// The readings of one tick.
struct LinuxSensorsReading final : SensorsReading {
  std::chrono::nanoseconds time{0};
  std::shared_ptr<const SensorCatalogue> catalogue;
  SensorValues values;
  std::optional<std::vector<DiskCounters>> disks;
};

/// The next reading notices sensors that have come or gone. A failing sensor affects no other.
class LinuxSensorsEngine final : public QuorlinSensorsEngine {
 public:
  LinuxSensorsEngine(const SystemRoots& roots, Log& log, MonotonicClock clock);

  std::unique_ptr<SensorsReading> getSensorsInfo(StatisticsData& fresh) override;

 private:
  void discoverIfChanged();

  std::string sysfsRoot_;
  Log& log_;
  MonotonicClock clock_;
  DirectoryWatch hwmonWatch_;
  DirectoryWatch thermalWatch_;
  DiskCounterReader diskReader_;
  SensorReader sensorReader_;
  std::shared_ptr<const SensorCatalogue> catalogue_;
  std::set<std::string> nameless_;
  bool discoveryIsDue_ = true;
};

}  // namespace quorlin
