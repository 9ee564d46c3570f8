#include "fakes/FakeLog.h"
#include "fakes/FakePowerSources.h"
#include "fakes/FakeUserDefaults.h"
#include "helper/ChargeHold.h"

#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A laptop on its charger, and a helper that the test plays.
class ChargeHoldTest : public testing::Test {
 protected:
  void start(std::int64_t limit) {
    defaults_.integers["batterylimit"] = limit;
    hold_.start();
  }

  /// What the helper was asked since the last call.
  std::vector<std::string> asked() { return std::exchange(asked_, {}); }

  void reply(const std::optional<std::string>& text) {
    for (const auto& reply : std::exchange(replies_, {})) reply(text);
  }

  FakeUserDefaults defaults_;
  FakePowerSources power_;
  FakeLog log_;
  std::vector<std::string> asked_;
  std::vector<ChargeHold::Reply> replies_;
  ChargeHold hold_{defaults_, power_, log_,
                   [this](ChargeHold::Reply reply, bool mode) {
                     asked_.emplace_back(mode ? "release" : "hold");
                     replies_.push_back(std::move(reply));
                   },
                   [] {}};
};

TEST_F(ChargeHoldTest, HoldsAtTheLimitAndReleasesBelowItWhateverTheHelperReplies) {
  power_.setBattery(80, true, true);
  start(80);
  hold_.followBattery();
  EXPECT_THAT(asked(), ElementsAre("hold"));
  EXPECT_FALSE(hold_.powerLimitEnabled()) << "recorded before the helper has replied";
  reply(std::nullopt);
  EXPECT_TRUE(hold_.powerLimitEnabled());
  EXPECT_TRUE(defaults_.boolean("powerLimitEnabled"));
  EXPECT_THAT(log_.lines, ElementsAre("(null)"));

  power_.setBattery(79, true, false);
  hold_.followBattery();
  EXPECT_THAT(asked(), ElementsAre("release"));
  reply("ok");
  EXPECT_FALSE(defaults_.boolean("powerLimitEnabled"));
}

TEST_F(ChargeHoldTest, TakesAStoredLimitBelowOneForAHundred) {
  for (const auto& [stored, limit] : {std::pair(0, 100), {-3, 100}, {1, 1}, {100, 100}}) {
    start(stored);
    EXPECT_EQ(hold_.powerLimit(), limit);
  }
}

TEST_F(ChargeHoldTest, DoesNotAskABatteryAgainThatWasNotThereAtTheStart) {
  start(80);
  power_.setBattery(90, true, true);
  hold_.followBattery();
  EXPECT_THAT(asked(), IsEmpty());
  hold_.setPowerLimitEnabled(true);
  hold_.releaseWithoutConsumers();
  EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(ChargeHoldTest, ReleasesWithoutConsumersWhatItHoldsAndLogsTheReply) {
  power_.setBattery(80, true, false);
  start(80);
  hold_.releaseWithoutConsumers();
  EXPECT_THAT(asked(), IsEmpty());
  defaults_.booleans["powerLimitEnabled"] = true;
  hold_.readSettings();
  hold_.releaseWithoutConsumers();
  EXPECT_THAT(asked(), ElementsAre("release"));
  EXPECT_TRUE(hold_.powerLimitEnabled()) << "recorded before the helper has replied";
  reply("resumed");
  EXPECT_FALSE(hold_.powerLimitEnabled());
  EXPECT_THAT(log_.lines, ElementsAre("resumed"));
}

TEST_F(ChargeHoldTest, ActsOnceItsLastReleaseIsAnsweredAndHoldsNothingMeanwhile) {
  power_.setBattery(90, true, true);
  start(80);
  hold_.setPowerLimitEnabled(true);
  bool heldThen = true;
  hold_.releaseFinallyThen([&] { heldThen = defaults_.boolean("powerLimitEnabled"); });
  EXPECT_TRUE(heldThen);
  hold_.followBattery();
  EXPECT_THAT(asked(), ElementsAre("release"));
  reply("released");
  EXPECT_FALSE(heldThen);
}

}  // namespace
}  // namespace quorlin
