#include "fakes/TemporaryFolder.h"
#include "programs/core-helper/metrics/CoreMetrics.h"

#include <limits>
#include <utility>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr auto nothing = std::nullopt;
constexpr MetricsRequest kAll = {true, true, true, true, milliseconds(1000)};

TEST(Energy, BecomesWattsOverTheTimeThatElapsed) {
  constexpr std::uint64_t most = 262'143'328'850;
  using Count = std::optional<std::uint64_t>;
  const std::tuple<Count, Count, std::uint64_t, nanoseconds, std::optional<double>> cases[] = {
      {1'000'000, 6'210'000, most, seconds(1), 5.21},
      {0, 6'000'000, most, milliseconds(1500), 4.0},
      {7, 7, 100, seconds(1), 0.0},
      {most - 328'850, 171'150, most, seconds(1), 0.5},
      {10, 9, 0, seconds(1), nothing},
      {101, 9, 100, seconds(1), nothing},
      {1'000'000, 0, most, seconds(1), nothing},
      {0, std::numeric_limits<std::uint64_t>::max(), 0, seconds(1), nothing},
      {nothing, 9, 100, seconds(1), nothing},
      {9, nothing, 100, seconds(1), nothing},
      {1, 2, 100, seconds(0), nothing},
  };
  for (const auto& [before, after, range, elapsed, watts] : cases) {
    EXPECT_EQ(wattsBetween({"z", "core", before, range}, {"z", "core", after, range}, elapsed), watts)
        << before.value_or(0) << " to " << after.value_or(0);
  }
  EXPECT_FALSE(wattsBetween({"hwmon3", "xe", 1, 0}, {"hwmon3", "i915", 2, 0}, seconds(1)));
}

TEST(Throttling, CountsEachPackageOnceAndTakesTheWorst) {
  using Counters = std::vector<ThrottleCounter>;
  const Counters before = {{"cpu0", "0", {5, 10}, {10, 100}},
                           {"cpu1", "0", {5, 10}, {10, 100}},
                           {"cpu2", "1", {0, 0}, {0, 0}},
                           {"cpu3", "2", {1, 1}, {9, 9}}};
  const std::tuple<Counters, seconds, std::optional<std::uint64_t>, std::optional<double>> cases[] = {
      {before, seconds(1), 0, 0.0},
      {{{"cpu0", "0", {6, 15}, {13, 220}}, {"cpu1", "0", {5, 10}, {12, 150}}}, seconds(1), 3, 12.0},
      {{{"cpu0", "0", {5, 10}, {11, 200}}, {"cpu2", "1", {0, 0}, {2, 300}}}, seconds(2), 3, 15.0},
      {{{"cpu0", "0", {9, 510}, {10, 100}}}, seconds(1), 4, 50.0},
      // Longer than it took.
      {{{"cpu2", "1", {0, 0}, {1, 5000}}}, seconds(1), 1, 100.0},
      {{{"cpu2", "1", {0, 0}, {1, 5000}}}, seconds(0), 1, nothing},
      {{{"cpu2", "1", {3, nothing}, {nothing, nothing}}}, seconds(1), 3, nothing},
      {{{"cpu3", "2", {0, 0}, {0, 0}}, {"cpu4", "0", {9, 9}, {9, 9}}}, seconds(1), nothing, nothing},
  };
  for (const auto& [after, elapsed, events, share] : cases) {
    const Throttling throttling = throttlingBetween(before, after, elapsed);
    EXPECT_EQ(throttling.events, events);
    EXPECT_EQ(throttling.share, share);
  }
}

/// A machine whose counters are read twice, a second apart.
class CoreMetricsTest : public testing::Test {
 protected:
  void set(const std::string& path, const std::string& value) const { folder_.write(path, value + "\n"); }

  void vendor(const std::string& number) const {
    set("devices/system/cpu/modalias", "cpu:type:x86,ven" + number + "fam0006mod008E:feature:,0000,0001");
  }

  void zone(const std::string& id, const std::string& name, const std::string& energy) const {
    set("class/powercap/" + id + "/name", name);
    set("class/powercap/" + id + "/energy_uj", energy);
    set("class/powercap/" + id + "/max_energy_range_uj", "262143328850");
  }

  void gpu(const std::string& id, const std::string& name, const std::string& file,
           const std::string& value) const {
    set("class/hwmon/" + id + "/name", name);
    set("class/hwmon/" + id + "/" + file, value);
  }

  void throttle(const std::string& processor, const std::string& file, const std::string& value) const {
    set("devices/system/cpu/" + processor + "/topology/physical_package_id", "0");
    set("devices/system/cpu/" + processor + "/thermal_throttle/package_throttle_" + file, value);
  }

  PowerCounters read(seconds time = seconds(0)) const {
    PowerCounters counters = readPowerCounters(folder_.path(), kAll);
    counters.time = std::chrono::steady_clock::time_point(time);
    return counters;
  }

  std::string textSince(const PowerCounters& before, const MetricsRequest& request = kAll) const {
    return metricsText(before, read(seconds(1)), request);
  }

  TemporaryFolder folder_;
};

TEST_F(CoreMetricsTest, ShowALineForWhatWasAskedAndIsThere) {
  EXPECT_EQ(textSince(read()), "");
  vendor("0000");
  const auto setAll = [this](bool isLater) {
    const auto at = [=](const char* before, const char* after) { return isLater ? after : before; };
    zone("intel-rapl:0", "package-0", at("1000000", "10120000"));
    zone("intel-rapl:0:0", "core", at("262143000000", "4881150"));
    zone("intel-rapl:0:1", "uncore", at("0", "834900"));
    zone("intel-rapl:0:2", "dram", at("5", "800005"));
    zone("intel-rapl:1", "psys", at("0", "20000000"));
    zone("intel-rapl-mmio:0", "package-0", at("0", "9120000"));
    gpu("hwmon2", "amdgpu", "power1_average", at("11000000", "12000000"));
    gpu("hwmon2", "amdgpu", "power1_input", "99000000");
    gpu("hwmon3", "xe", "energy1_input", at("400", "25000400"));
    gpu("hwmon4", "coretemp", "power1_input", "5");
    throttle("cpu0", "count", at("7", "10"));
    throttle("cpu0", "total_time_ms", at("1000", "1120"));
    throttle("cpufreq", "count", at("0", "900"));
  };
  setAll(false);
  const PowerCounters before = read();
  setAll(true);
  const std::string processor = "CPU Power: 5.21 W\nPackage Power: 9.12 W\nDRAM Power: 0.80 W\n";
  const std::string graphics = "GPU Power: 0.83 W\nGPU Power (amdgpu): 12.00 W\nGPU Power (xe): 25.00 W\n";
  const std::string thermal = "Thermal Pressure: 12.0 %\nThermal Throttling: 3 events\n";
  EXPECT_EQ(textSince(before), processor + graphics + thermal);
  EXPECT_EQ(textSince(before, {true, false, true, false, {}}), processor);
  EXPECT_EQ(textSince(before, {false, true, true, false, {}}), graphics);
  EXPECT_EQ(textSince(before, {false, false, false, true, {}}), thermal);
}

TEST_F(CoreMetricsTest, SumTheZonesOfAllPackagesButTrustTheCoresOfIntelOnly) {
  const auto setAll = [this](const char* package0, const char* package1, const char* core0,
                             const char* core1) {
    zone("intel-rapl:0", "package-0", package0);
    zone("intel-rapl:1", "package-1", package1);
    zone("intel-rapl:0:0", "core", core0);
    zone("intel-rapl:1:0", "core", core1);
  };
  const std::string packages = "Package Power: 6.50 W\nPackage 0 Power: 2.50 W\nPackage 1 Power: 4.00 W\n";
  for (const auto& [number, expected] : {std::pair("0000", "CPU Power: 4.00 W\n"),
                                         {"0002", "CPU Power: 6.50 W\n"},
                                         {"0009", "CPU Power: 6.50 W\n"}}) {
    vendor(number);
    setAll("3500000", "500000", "1000000", "0");
    const PowerCounters before = read();
    setAll("6000000", "4500000", "2000000", "3000000");
    EXPECT_EQ(textSince(before), expected + packages) << number;
  }
}

TEST_F(CoreMetricsTest, LeaveOutWhatOneOfTheReadingsDoesNotHave) {
  vendor("0000");
  zone("intel-rapl:0", "package-0", "1000000");
  zone("intel-rapl:0:0", "core", "n/a");
  zone("intel-rapl:1", "package-1", "1000000");
  zone("intel-rapl:1:2", "dram", "1");
  gpu("hwmon3", "i915", "energy1_input", "1");
  const PowerCounters before = read();
  zone("intel-rapl:0", "package-0", "3000000");
  zone("intel-rapl:0:0", "core", "5");
  zone("intel-rapl:0:1", "uncore", "500000");
  zone("intel-rapl:1", "package-1", "2000000");
  std::filesystem::remove_all(folder_.path() / "class/powercap/intel-rapl:1:2");
  gpu("hwmon3", "i915", "energy1_input", "");
  gpu("hwmon5", "xe", "energy1_input", "5");
  EXPECT_EQ(textSince(before),
            "CPU Power: 3.00 W\nPackage Power: 3.00 W\nPackage 0 Power: 2.00 W\nPackage 1 Power: 1.00 W\n");
  zone("intel-rapl:0", "package-0", "");
  EXPECT_EQ(textSince(before), "Package 1 Power: 1.00 W\n");
}

TEST_F(CoreMetricsTest, NumberTheChipsOfADriverAndLeaveASleepingOneAlone) {
  gpu("hwmon0", "nouveau", "power1_input", "7000000");
  gpu("hwmon1", "nouveau", "power1_input", "8000000");
  const std::string second = "GPU Power (nouveau 2): 8.00 W\n";
  for (const auto& [status, isRead] : {std::pair("active", true),
                                       {"unsupported", true},
                                       {"suspended", false},
                                       {"suspending", false},
                                       {"resuming", false}}) {
    set("class/hwmon/hwmon0/device/power/runtime_status", status);
    EXPECT_EQ(textSince(read()), (isRead ? "GPU Power (nouveau): 7.00 W\n" : "") + second) << status;
    EXPECT_EQ(read().graphics.size(), isRead ? 2U : 1U) << status;
  }
}

}  // namespace
}  // namespace quorlin
