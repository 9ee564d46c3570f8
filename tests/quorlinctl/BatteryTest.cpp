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
using testing::Not;

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

std::string shownBy(Output& output, const Notification& notification) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(output.show(notification), std::error_code());
  return testing::internal::GetCapturedStdout();
}

TEST(JsonOutput, TellsTheBatteryWithThePowerMetricsAlone) {
  FakeSources sources({100, 63, false}, PowerSources::kTimeRemainingUnknown);
  JsonOutput output(sources);
  EXPECT_THAT(shownBy(output, kPower), HasSubstr(R"(},"battery":{"state":"on-battery","percent":63}})"));
  EXPECT_THAT(shownBy(output, kSample), HasSubstr(R"("userInfo":{}})"));
}

TEST(ReportOutput, ShowsTheBatteryAtOnceAndPowerMetricsThatCameBefore) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  FakeSources sources({100, 63, false}, PowerSources::kTimeRemainingUnknown);
  ReportOutput output(Role::MainApp, sources);
  EXPECT_THAT(shownBy(output, kSample), AllOf(HasSubstr("On battery"), Not(HasSubstr("Power"))));
  EXPECT_THAT(shownBy(output, kPower), IsEmpty()) << "a report is a sample";
  EXPECT_THAT(shownBy(output, kSample), AllOf(HasSubstr("5.21 W"), HasSubstr("Charge limit")));
  std::setlocale(LC_CTYPE, "C");
}

}  // namespace
}  // namespace quorlin
