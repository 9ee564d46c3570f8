#include "core/Notifications.h"
#include "fakes/FakeMachine.h"
#include "programs/quorlinctl/commands/PendingReport.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace quorlin {
namespace {

TEST(PendingReport, WaitsForWhatIsExpectedAndAsLongAsAsked) {
  using namespace notification;
  using namespace std::chrono_literals;
  using Names = std::vector<std::string_view>;
  struct Case {
    const char* what;
    bool sample;
    bool power;
    std::optional<std::chrono::milliseconds> timeout;
    Names heard;
    bool ended;
    /// How long is waited for what is missing.
    std::chrono::milliseconds patience;
  };
  const Case cases[] = {
      {"nothing has come", true, false, {}, {}, false, 15s},
      {"nothing has come in the time given", true, false, 1s, {}, false, 1s},
      {"all has come", true, false, {}, {kSensorsDataM}, true, 15s},
      {"a reduced sample is no report", true, false, {}, {kSensorsDataMMini}, false, 15s},
      {"power is missing", true, true, {}, {kSensorsDataM}, false, 6s},
      {"a sample is missing", true, false, {}, {kCoreData}, false, 6s},
      {"power is missing in the time given", true, true, 80s, {kSensorsDataM}, false, 80s},
      {"both have come", true, true, {}, {kCoreData, kSensorsActiveM, kSensorsDataM}, true, 6s},
      {"no sample is expected", false, true, 80s, {kCoreData}, true, 80s},
      {"no sample is expected, but one comes", false, true, {}, {kSensorsDataM}, false, 6s},
      {"the sensors are on after all", false, true, {}, {kSensorsActiveM, kCoreData}, false, 6s},
  };
  for (const auto& [what, sample, power, timeout, heard, ended, patience] : cases) {
    FakeRunLoop loop;
    int ends = 0;
    PendingReport report(loop, {.role = Role::MainApp, .sample = sample, .power = power, .timeout = timeout},
                         [&] { ++ends; });
    for (const std::string_view name : heard) {
      report.take({.name = std::string(name), .object = std::nullopt, .userInfo = {}});
    }
    EXPECT_EQ(ends, ended ? 1 : 0) << what;
    EXPECT_EQ(loop.interval, patience) << what;
    EXPECT_EQ(report.sample().has_value(), std::ranges::count(heard, kSensorsDataM) == 1) << what;
    EXPECT_EQ(report.power().has_value(), std::ranges::count(heard, kCoreData) == 1) << what;
    loop.fireTimer();
    EXPECT_EQ(ends, ended ? 2 : 1) << what;
  }
}

}  // namespace
}  // namespace quorlin
