/// An engine on a simulated machine, with the test's own clock and log.
#pragma once

#include "engine/LinuxSensorsEngine.h"
#include "engine/LinuxStatisticsData.h"
#include "engine/MachineFixture.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace quorlin {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

inline bool isSame(double left, double right) {
  return left == right || (std::isnan(left) && std::isnan(right));
}

struct RecordingLog final : Log {
  void line(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

struct EngineFixture {
  explicit EngineFixture(const std::string& name = "") : machine(name) {}

  void tick(std::chrono::seconds pause = std::chrono::seconds(3)) {
    time += pause;
    LinuxStatisticsData fresh;
    statistics.populateStatisticsDataFrom(*engine.getSensorsInfo(fresh));
  }

  /// A value or a label, by id. An id that is not there has the value -1000 and the label "absent".
  double temperature(const std::string& id) const {
    return number(*statistics.sensors_temperatureData(), id);
  }
  double fan(const std::string& id) const { return number(*statistics.sensors_fansData(), id); }
  std::string label(const std::string& id) const {
    for (const PropertyList& labels : {*statistics.sensors_temperature(), *statistics.sensors_fans()}) {
      if (const PropertyList* found = find(*labels.dictionary(), id)) return *found->string();
    }
    return "absent";
  }

  static double number(const PropertyList& values, const std::string& id) {
    const PropertyList* found = find(*values.dictionary(), id);
    return found == nullptr ? -1000.0 : *found->real();
  }

  MachineFixture machine;
  RecordingLog log;
  std::chrono::nanoseconds time{0};
  LinuxSensorsEngine engine{machine.roots(), log, [this] { return time; }};
  LinuxStatisticsData statistics;
};

}  // namespace quorlin
