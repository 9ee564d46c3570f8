#include "core/Notifications.h"
#include "fakes/FakePowerSources.h"
#include "programs/quorlinctl/view/Battery.h"
#include "programs/quorlinctl/view/SampleOutput.h"

#include <clocale>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

FakePowerSources sourcesWith(PowerSourceDescription source,
                             double estimate = PowerSources::kTimeRemainingUnknown) {
  FakePowerSources sources;
  sources.sources = PowerSourceList{source};
  sources.estimate = estimate;
  return sources;
}

TEST(Battery, IsReadWithAWordForItsState) {
  constexpr double unlimited = PowerSources::kTimeRemainingUnlimited;
  constexpr double unknown = PowerSources::kTimeRemainingUnknown;
  const std::tuple<PowerSourceDescription, double, Battery, std::string_view> cases[] = {
      {{200, 126, false}, unknown, {kOnBattery, 63}, "on-battery"},
      {{200, 126, true}, unlimited, {kCharging, 63}, "charging"},
      {{200, 1, false}, unlimited, {kNotCharging, 0}, "not-charging"},
      {{2'000'000'000, 2'000'000'000, false, true}, unlimited, {kNotCharging, 100, true}, "discharging"},
      {{200, std::nullopt, true, true}, unknown, {kOnBattery, std::nullopt}, "on-battery"},
  };
  for (const auto& [source, remaining, battery, word] : cases) {
    FakePowerSources sources = sourcesWith(source, remaining);
    EXPECT_THAT(readBatteries(sources), testing::ElementsAre(battery)) << word;
    EXPECT_EQ(wordOf(battery), word);
  }
  FakePowerSources none = sourcesWith({std::nullopt, std::nullopt, std::nullopt});
  EXPECT_THAT(readBatteries(none), IsEmpty());
}

const Notification kPower = {.name = std::string(notification::kCoreData),
                             .object = std::nullopt,
                             .userInfo = {{"coreData", "CPU Power: 5.21 W"}, {"batteryLimit", 80}}};
const Notification kSample = {
    .name = std::string(notification::kSensorsDataM), .object = std::nullopt, .userInfo = {}};
const Notification kReduced = {
    .name = std::string(notification::kSensorsDataMMini), .object = std::nullopt, .userInfo = {}};

std::string shownBy(Output& output, const Notification& notification) {
  testing::internal::CaptureStdout();
  EXPECT_FALSE(output.show(notification));
  return testing::internal::GetCapturedStdout();
}

TEST(JsonOutput, TellsTheBatteryButWithReducedSamples) {
  FakePowerSources sources = sourcesWith({100, 63, false});
  JsonOutput output(sources);
  for (const Notification& notification : {kPower, kSample}) {
    EXPECT_THAT(shownBy(output, notification),
                HasSubstr(R"(},"battery":{"state":"on-battery","percent":63}})"));
  }
  EXPECT_THAT(shownBy(output, kReduced), HasSubstr(R"("userInfo":{}})"));
}

TEST(ReportOutput, FollowsSamplesAndPowerMetricsWhereThereIsNone) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  FakePowerSources sources = sourcesWith({100, 63, false});
  const auto both = AllOf(HasSubstr("5.21 W"), HasSubstr("Charge limit"), HasSubstr("On battery"),
                          HasSubstr("\n\nIt is held."));
  const HoldTeller tellHold = [] { return "It is held."; };
  ReportOutput output(Role::MainApp, sources, tellHold);
  EXPECT_THAT(shownBy(output, kReduced), IsEmpty());
  EXPECT_THAT(shownBy(output, kPower), AllOf(both, HasSubstr("waiting for a sample")));
  EXPECT_THAT(shownBy(output, kSample), both);
  EXPECT_THAT(shownBy(output, kPower), IsEmpty()) << "a report is a sample";
  ReportOutput once(Role::MainApp, sources, tellHold);
  once.remember(kPower);
  EXPECT_THAT(shownBy(once, kSample), both);
  std::setlocale(LC_CTYPE, "C");
}

TEST(ViewState, ForgetsWhatIsNotFollowedByAnother) {
  FakePowerSources sources = sourcesWith({100, 63, false});
  ViewState state(Role::MainApp, sources, [] { return "It is held."; });
  const ViewState::Clock::time_point start{};
  EXPECT_TRUE(state.take(kPower, start));
  EXPECT_TRUE(state.take(kSample, start + std::chrono::seconds(9)));
  EXPECT_EQ(state.view().batteryLimit, 80);
  EXPECT_TRUE(state.take(kSample, start + std::chrono::seconds(18)));
  EXPECT_EQ(state.view().powerMetrics, std::nullopt);
  EXPECT_EQ(state.view().batteryLimit, std::nullopt);
  EXPECT_THAT(state.view().hold, IsEmpty());
  EXPECT_FALSE(state.take(kPower, start + std::chrono::seconds(19)));
  sources = sourcesWith({100, 7, false});
  state.explainSilence("because", start + std::chrono::seconds(28));
  EXPECT_FALSE(state.view().sample.has_value());
  EXPECT_EQ(state.view().silence, "because");
  EXPECT_NE(state.view().powerMetrics, std::nullopt) << "these still come";
  EXPECT_TRUE(state.take(kPower, start + std::chrono::seconds(29)));
  EXPECT_EQ(state.view().batteries.front().percent, 7);
}

}  // namespace
}  // namespace quorlin
