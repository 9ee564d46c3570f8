/// The sensors engine for Linux: puts discovery, sensors and disk counters together.
#pragma once

#include "core/SensorsEngine.h"
#include "engine/DirectoryWatch.h"
#include "engine/DiskCounters.h"
#include "engine/SensorReader.h"
#include "engine/SensorsEngineFactory.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorlin {

using MonotonicClock = std::function<std::chrono::nanoseconds()>;

/// What one tick has read.
struct LinuxSensorsReading final : SensorsReading {
  std::chrono::nanoseconds time{0};
  std::shared_ptr<const SensorCatalogue> catalogue;
  SensorValues values;
  std::optional<std::vector<DiskCounters>> disks;
};

/// Sensors that come and go are noticed at the next reading; what fails harms nothing else.
class LinuxSensorsEngine final : public QuorlinSensorsEngine {
 public:
  LinuxSensorsEngine(const EngineRoots& roots, Log& log, MonotonicClock clock);

  std::unique_ptr<SensorsReading> getSensorsInfo(StatisticsData& fresh) override;

 private:
  void discoverIfChanged();
  void reportNameless(const std::vector<FoundChip>& chips);

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
