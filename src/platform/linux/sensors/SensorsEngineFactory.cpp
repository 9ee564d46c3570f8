#include "platform/linux/sensors/SensorsEngineFactory.h"

#include "platform/linux/sensors/LinuxSensorsEngine.h"
#include "platform/linux/sensors/LinuxStatisticsData.h"

#include <chrono>
#include <utility>

namespace quorlin {

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
