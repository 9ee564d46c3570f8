#include "core/Notifications.h"
#include "quorlinctl/Battery.h"
#include "quorlinctl/SampleOutput.h"

#include <clocale>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class FakeSources final : public PowerSources {
 public:
  explicit FakeSources(PowerSourceDescription source, double remaining)
      : source_(source), remaining_(remaining) {}
  std::optional<PowerSourceList> copyPowerSources() override { return PowerSourceList{source_}; }
  double timeRemainingEstimate() override { return remaining_; }

 private:
  PowerSourceDescription source_;
  double remaining_;
};

TEST(Battery, IsReadWithAWordForItsState) {
  constexpr double unlimited = PowerSources::kTimeRemainingUnlimited;
  constexpr double unknown = PowerSources::kTimeRemainingUnknown;
  const struct {
    PowerSourceDescription source;
    double remaining;
    Battery battery;
    std::string_view word;
  } cases[] = {
      {{std::nullopt, std::nullopt, std::nullopt}, unknown, {kNoBattery, std::nullopt}, "none"},
      {{200, 126, false}, unknown, {kOnBattery, 63}, "on-battery"},
      {{200, 126, true}, unlimited, {kCharging, 63}, "charging"},
      {{200, 0, false}, unlimited, {kNotCharging, std::nullopt}, "not-charging"},
  };
  for (const auto& [source, remaining, battery, word] : cases) {
    FakeSources sources(source, remaining);
    EXPECT_EQ(readBattery(sources), battery) << word;
    EXPECT_EQ(wordOf(battery.state), word);
  }
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
  EXPECT_EQ(output.show(notification), std::error_code());
  return testing::internal::GetCapturedStdout();
}

TEST(JsonOutput, TellsTheBatteryButWithReducedSamples) {
  FakeSources sources({100, 63, false}, PowerSources::kTimeRemainingUnknown);
  JsonOutput output(sources);
  for (const Notification& notification : {kPower, kSample}) {
    EXPECT_THAT(shownBy(output, notification),
                HasSubstr(R"(},"battery":{"state":"on-battery","percent":63}})"));
  }
  EXPECT_THAT(shownBy(output, kReduced), HasSubstr(R"("userInfo":{}})"));
}

TEST(ReportOutput, FollowsSamplesAndPowerMetricsWhereThereIsNone) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  FakeSources sources({100, 63, false}, PowerSources::kTimeRemainingUnknown);
  const auto both = AllOf(HasSubstr("5.21 W"), HasSubstr("Charge limit"), HasSubstr("On battery"));
  ReportOutput output(Role::MainApp, sources);
  EXPECT_THAT(shownBy(output, kReduced), IsEmpty());
  EXPECT_THAT(shownBy(output, kPower), AllOf(both, HasSubstr("waiting for a sample")));
  EXPECT_THAT(shownBy(output, kSample), both);
  EXPECT_THAT(shownBy(output, kPower), IsEmpty()) << "a report is a sample";
  ReportOutput once(Role::MainApp, sources);
  once.remember(kPower);
  EXPECT_THAT(shownBy(once, kSample), both);
  std::setlocale(LC_CTYPE, "C");
}

TEST(ViewState, ForgetsWhatIsNotFollowedByAnother) {
  FakeSources sources({100, 63, false}, PowerSources::kTimeRemainingUnknown);
  ViewState state(Role::MainApp, sources);
  const ViewState::Clock::time_point start{};
  EXPECT_TRUE(state.take(kPower, start));
  EXPECT_TRUE(state.take(kSample, start + std::chrono::seconds(9)));
  EXPECT_EQ(state.view().batteryLimit, 80);
  EXPECT_TRUE(state.take(kSample, start + std::chrono::seconds(18)));
  EXPECT_EQ(state.view().powerMetrics, std::nullopt);
  EXPECT_EQ(state.view().batteryLimit, std::nullopt);
  EXPECT_FALSE(state.take(kPower, start + std::chrono::seconds(19)));
  sources = FakeSources({100, 7, false}, PowerSources::kTimeRemainingUnknown);
  state.explainSilence("because", start + std::chrono::seconds(28));
  EXPECT_FALSE(state.view().sample.has_value());
  EXPECT_EQ(state.view().silence, "because");
  EXPECT_NE(state.view().powerMetrics, std::nullopt) << "these still come";
  EXPECT_TRUE(state.take(kPower, start + std::chrono::seconds(29)));
  EXPECT_EQ(state.view().battery.percent, 7);
}

}  // namespace
}  // namespace quorlin
