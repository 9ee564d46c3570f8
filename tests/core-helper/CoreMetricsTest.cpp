#include "core-helper/CoreMetrics.h"
#include "fakes/TemporaryFolder.h"

#include <limits>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
constexpr MetricsRequest kAll = {true, true, true, true, milliseconds(1000)};

TEST(Energy, BecomesWattsOverTheTimeThatElapsed) {
  constexpr auto nothing = std::nullopt;
  const struct {
    const char* what;
    std::optional<std::uint64_t> before;
    std::optional<std::uint64_t> after;
    std::uint64_t range;
    nanoseconds elapsed;
    std::optional<double> watts;
  } cases[] = {
      {"a second", 1'000'000, 6'210'000, 262'143'328'850, seconds(1), 5.21},
      {"the real time", 0, 6'000'000, 262'143'328'850, milliseconds(1500), 4.0},
      {"idle", 7, 7, 100, seconds(1), 0.0},
      {"a wrap", 262'143'000'000, 171'150, 262'143'328'850, seconds(1), 0.5},
      {"set back without a range", 10, 9, 0, seconds(1), nothing},
      {"beyond its range", 101, 9, 100, seconds(1), nothing},
      {"set back", 1'000'000, 0, 262'143'328'850, seconds(1), nothing},
      {"gone astray", 0, kMost, 0, seconds(1), nothing},
      {"unreadable before", nothing, 9, 100, seconds(1), nothing},
      {"unreadable after", 9, nothing, 100, seconds(1), nothing},
      {"no time", 1, 2, 100, seconds(0), nothing},
      {"time backwards", 1, 2, 100, seconds(-1), nothing},
  };
  for (const auto& [what, before, after, range, elapsed, watts] : cases) {
    EXPECT_EQ(wattsBetween({"z", "core", before, range}, {"z", "core", after, range}, elapsed), watts)
        << what;
  }
  EXPECT_FALSE(wattsBetween({"hwmon3", "xe", 1, 0}, {"hwmon3", "i915", 2, 0}, seconds(1)));
}

TEST(Throttling, CountsEachPackageOnceAndTakesTheWorst) {
  using Counts = ThrottleCounter::Counts;
  const std::vector<ThrottleCounter> before = {{"cpu0", "0", {5, 10}, {10, 100}},
                                               {"cpu1", "0", {5, 10}, {10, 100}},
                                               {"cpu2", "1", {0, 0}, {0, 0}},
                                               {"cpu3", "2", {1, 1}, {9, 9}}};
  const struct {
    const char* what;
    std::vector<ThrottleCounter> after;
    nanoseconds elapsed;
    std::optional<std::uint64_t> events;
    std::optional<double> share;
  } cases[] = {
      {"nothing happened", before, seconds(1), 0, 0.0},
      {"two processors of a package",
       {{"cpu0", "0", {6, 15}, {13, 220}}, {"cpu1", "0", {5, 10}, {12, 150}}},
       seconds(1),
       3,
       12.0},
      {"two packages",
       {{"cpu0", "0", {5, 10}, {11, 200}}, {"cpu2", "1", {0, 0}, {2, 300}}},
       seconds(2),
       3,
       15.0},
      {"a core alone", {{"cpu0", "0", {9, 510}, {10, 100}}}, seconds(1), 4, 50.0},
      {"longer than it took", {{"cpu2", "1", {0, 0}, {1, 5000}}}, seconds(1), 1, 100.0},
      {"no time", {{"cpu2", "1", {0, 0}, {1, 5000}}}, seconds(0), 1, std::nullopt},
      {"no times", {{"cpu2", "1", {3, std::nullopt}, Counts()}}, seconds(1), 3, std::nullopt},
      {"set back", {{"cpu3", "2", {0, 0}, {0, 0}}}, seconds(1), std::nullopt, std::nullopt},
      {"a new processor", {{"cpu4", "0", {9, 9}, {9, 9}}}, seconds(1), std::nullopt, std::nullopt},
      {"none", {}, seconds(1), std::nullopt, std::nullopt},
  };
  for (const auto& [what, after, elapsed, events, share] : cases) {
    const Throttling throttling = throttlingBetween(before, after, elapsed);
    EXPECT_EQ(throttling.events, events) << what;
    EXPECT_EQ(throttling.share, share) << what;
  }
}

/// A machine whose counters are read twice, a second apart.
class CoreMetricsTest : public testing::Test {
 protected:
  void zone(const std::string& id, const std::string& name, const std::string& energy) {
    folder_.write("class/powercap/" + id + "/name", name + "\n");
    folder_.write("class/powercap/" + id + "/energy_uj", energy + "\n");
    folder_.write("class/powercap/" + id + "/max_energy_range_uj", "262143328850\n");
  }

  void gpu(const std::string& id, const std::string& file, const std::string& value,
           const std::string& status = "active") {
    folder_.write("class/hwmon/" + id + "/" + file, value + "\n");
    folder_.write("class/hwmon/" + id + "/device/power/runtime_status", status + "\n");
  }

  void throttle(const std::string& processor, const std::string& file, const std::string& value) {
    const std::string folder = "devices/system/cpu/" + processor;
    folder_.write(folder + "/topology/physical_package_id", "0\n");
    folder_.write(folder + "/thermal_throttle/" + file, value + "\n");
  }

  PowerCounters read(const MetricsRequest& request = kAll) const {
    PowerCounters counters = readPowerCounters(folder_.path(), request);
    EXPECT_NE(counters.time.time_since_epoch().count(), 0);
    counters.time = {};
    return counters;
  }

  std::string textSince(const PowerCounters& before, const MetricsRequest& request = kAll) const {
    PowerCounters after = read(request);
    after.time = before.time + seconds(1);
    return metricsText(before, after, request);
  }

  TemporaryFolder folder_;
};

TEST_F(CoreMetricsTest, ShowALineForWhatWasAskedAndIsThere) {
  zone("intel-rapl:0", "package-0", "1000000");
  zone("intel-rapl:0:0", "core", "262143000000");
  zone("intel-rapl:0:1", "uncore", "0");
  zone("intel-rapl:0:2", "dram", "5");
  zone("intel-rapl:1", "psys", "0");
  zone("intel-rapl-mmio:0", "package-0", "0");
  gpu("hwmon2", "name", "amdgpu");
  gpu("hwmon2", "power1_average", "11000000");
  gpu("hwmon3", "name", "xe");
  gpu("hwmon3", "energy1_input", "400");
  gpu("hwmon4", "name", "nvme");
  gpu("hwmon4", "power1_input", "9");
  throttle("cpu0", "package_throttle_count", "7");
  throttle("cpu0", "package_throttle_total_time_ms", "1000");
  throttle("cpufreq", "package_throttle_count", "0");
  const PowerCounters before = read();
  zone("intel-rapl:0", "package-0", "10120000");
  zone("intel-rapl:0:0", "core", "4881150");
  zone("intel-rapl:0:1", "uncore", "834900");
  zone("intel-rapl:0:2", "dram", "800005");
  zone("intel-rapl:1", "psys", "20000000");
  zone("intel-rapl-mmio:0", "package-0", "9120000");
  gpu("hwmon2", "power1_average", "12000000");
  gpu("hwmon2", "power1_input", "99000000");
  gpu("hwmon3", "energy1_input", "25000400");
  throttle("cpu0", "package_throttle_count", "10");
  throttle("cpu0", "package_throttle_total_time_ms", "1120");
  throttle("cpufreq", "package_throttle_count", "900");
  EXPECT_EQ(textSince(before),
            "CPU Power: 5.21 W\n"
            "Package Power: 9.12 W\n"
            "DRAM Power: 0.80 W\n"
            "GPU Power: 0.83 W\n"
            "GPU Power (amdgpu): 12.00 W\n"
            "GPU Power (xe): 25.00 W\n"
            "Thermal Pressure: 12.0 %\n"
            "Thermal Throttling: 3 events\n");
  EXPECT_EQ(textSince(before, {.processorPower = false,
                               .graphicsPower = true,
                               .neuralEnginePower = true,
                               .thermal = false,
                               .interval = {}}),
            "GPU Power: 0.83 W\nGPU Power (amdgpu): 12.00 W\nGPU Power (xe): 25.00 W\n");
  EXPECT_EQ(textSince(before, MetricsRequest{false, false, false, true, {}}),
            "Thermal Pressure: 12.0 %\nThermal Throttling: 3 events\n");
}

TEST_F(CoreMetricsTest, SumTheZonesOfAllPackagesAndShowEachPackage) {
  zone("intel-rapl:0", "package-0", "3500000");
  zone("intel-rapl:1", "package-1", "500000");
  const PowerCounters packages = read();
  zone("intel-rapl:0:0", "core", "1000000");
  zone("intel-rapl:1:0", "core", "0");
  const PowerCounters cores = read();
  zone("intel-rapl:0", "package-0", "6000000");
  zone("intel-rapl:1", "package-1", "4500000");
  zone("intel-rapl:0:0", "core", "2000000");
  zone("intel-rapl:1:0", "core", "3000000");
  const std::string perPackage = "Package Power: 6.50 W\nPackage 0 Power: 2.50 W\nPackage 1 Power: 4.00 W\n";
  EXPECT_THAT(textSince(packages), StartsWith("CPU Power: 6.50 W\n" + perPackage));
  EXPECT_THAT(textSince(cores), StartsWith("CPU Power: 4.00 W\n" + perPackage));
}

TEST_F(CoreMetricsTest, LeaveOutWhatOneOfTheReadingsDoesNotHave) {
  zone("intel-rapl:0", "package-0", "1000000");
  zone("intel-rapl:0:0", "core", "n/a");
  zone("intel-rapl:1", "package-1", "1000000");
  zone("intel-rapl:1:2", "dram", "1");
  gpu("hwmon3", "name", "i915");
  gpu("hwmon3", "energy1_input", "1");
  const PowerCounters before = read();
  zone("intel-rapl:0", "package-0", "3000000");
  zone("intel-rapl:0:0", "core", "5");
  zone("intel-rapl:0:1", "uncore", "500000");
  zone("intel-rapl:1", "package-1", "2000000");
  std::filesystem::remove_all(folder_.path() / "class/powercap/intel-rapl:1:2");
  gpu("hwmon3", "energy1_input", "");
  gpu("hwmon5", "name", "xe");
  gpu("hwmon5", "energy1_input", "5");
  EXPECT_EQ(textSince(before),
            "CPU Power: 3.00 W\nPackage Power: 3.00 W\nPackage 0 Power: 2.00 W\nPackage 1 Power: 1.00 W\n"
            "Thermal Pressure: unavailable (no throttling counters)\n");

  zone("intel-rapl:0", "package-0", "");
  EXPECT_EQ(textSince(before, MetricsRequest{true, false, false, false, {}}),
            "CPU Power: unavailable (the RAPL energy counters cannot be read)\nPackage 1 Power: 1.00 W\n");
}

TEST_F(CoreMetricsTest, SayWhyThereIsNothing) {
  EXPECT_EQ(textSince(read()),
            "CPU Power: unavailable (no RAPL energy counters)\n"
            "Thermal Pressure: unavailable (no throttling counters)\n");
}

TEST_F(CoreMetricsTest, LeaveASleepingGraphicsChipAlone) {
  gpu("hwmon0", "name", "nouveau");
  for (const auto& [status, isRead] : {std::pair("active", true),
                                       {"unsupported", true},
                                       {"suspended", false},
                                       {"suspending", false},
                                       {"resuming", false}}) {
    gpu("hwmon0", "power1_input", "7000000", status);
    EXPECT_THAT(textSince(read()), isRead ? testing::Matcher<std::string>(HasSubstr("(nouveau): 7.00 W"))
                                          : Not(HasSubstr("GPU")))
        << status;
    EXPECT_EQ(read().graphics.size(), isRead ? 1U : 0U) << status;
  }
}

}  // namespace
}  // namespace quorlin
