/// Described machines, and engines on them.
#pragma once

#include "fakes/TemporaryFolder.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/linux/sensors/LinuxSensorsEngine.h"
#include "platform/linux/sensors/LinuxStatisticsData.h"
#include "platform/linux/sensors/SensorsEngineFactory.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorlin {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

inline bool isSame(double left, double right) {
  return left == right || (std::isnan(left) && std::isnan(right));
}

/// A machine from tests/fixtures/machines as files in a folder of its own, every value at its first frame.
class MachineFixture {
 public:
  /// The description's name without its ending, or an empty one for a machine without any file.
  explicit MachineFixture(const std::string& name = "") {
    if (name.empty()) return;
    const std::string machines = QUORLIN_TEST_MACHINES;
    const auto expanding = spawn(machines + "/../machine.py",
                                 {"expand", machines + "/" + name + ".machine", root_.string()}, {});
    if (!expanding || waitForEnd(*expanding) != 0) throw std::runtime_error("there is no machine " + name);
  }

  SystemRoots roots() const { return {.sysfs = root_ / "sys", .procfs = root_ / "proc"}; }
  std::filesystem::path path(const std::string& path) const { return root_ / path; }

  /// In place, as the kernel changes a value: open descriptors read the new one.
  void write(const std::string& file, const std::string& bytes) { folder_.write(file, bytes); }

  void link(const std::string& from, const std::string& to) {
    std::filesystem::create_directories(path(from).parent_path());
    std::filesystem::create_symlink(path(to), path(from));
  }

  void remove(const std::string& file) { std::filesystem::remove_all(path(file)); }

  /// A chip below sys/devices, entered in the class.
  void addChip(const std::string& device, const std::string& hwmon, const std::string& name) {
    const std::string directory = "sys/devices/" + device + "/hwmon/" + hwmon;
    write(directory + "/name", name + "\n");
    link("sys/class/hwmon/" + hwmon, directory);
  }

  /// What another start of the machine does to a chip.
  void renumber(const std::string& hwmon, const std::string& to) {
    const std::filesystem::path entry = path("sys/class/hwmon/" + hwmon);
    const std::filesystem::path old = std::filesystem::canonical(entry);
    std::filesystem::rename(old, old.parent_path() / to);
    std::filesystem::remove(entry);
    std::filesystem::create_symlink(old.parent_path() / to, path("sys/class/hwmon/" + to));
  }

 private:
  TemporaryFolder folder_;
  std::filesystem::path root_ = std::filesystem::canonical(folder_.path());
};

struct RecordingLog final : Log {
  void line(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

/// An engine with the test's own clock and log.
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
