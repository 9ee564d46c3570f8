#include "engine/SensorsEngineFactory.h"

#include "engine/LinuxSensorsEngine.h"
#include "engine/LinuxStatisticsData.h"

#include <chrono>
#include <utility>

namespace quorlin {

SensorsEngineFactory makeLinuxSensorsEngine(EngineRoots roots, Log& log) {
  return {.makeEngine =
              [roots = std::move(roots), &log] {
                return std::make_unique<LinuxSensorsEngine>(roots, log, [] {
                  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch());
                });
              },
          .makeStatisticsData = [] { return std::make_unique<LinuxStatisticsData>(); }};
}

}  // namespace quorlin
