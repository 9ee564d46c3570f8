#include "programs/quorlinctl/hold/HoldVerdict.h"

#include <functional>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::HasSubstr;

/// Everything is there, and the charge is above its limit.
HoldFacts allIsWell() {
  HoldFacts facts;
  facts.limit = 80;
  facts.batteries = {{"BAT0", {kCharging, 81}, "charge_behaviour"}};
  facts.isCoreOn = true;
  facts.hasConsumer = true;
  facts.hold.batteries = {{"BAT0", false, "charge_behaviour", ""}};
  facts.holder = "process 12 of user anna";
  return facts;
}

void hold(HoldFacts& facts) {
  facts.hold.batteries = {
      {"BAT0", true, "charge_behaviour", "the charge is held (charge_behaviour inhibit-charge)"}};
}

TEST(HoldVerdict, SaysWhatBecomesOfTheLimitAndWhy) {
  const struct {
    std::function<void(HoldFacts&)> change;
    HoldState state;
    const char* line;
  } cases[] = {
      {[](auto& facts) { facts.batteries.clear(); }, HoldState::NoBattery, "This computer has no battery."},
      {[](auto& facts) { facts.limit = 100; }, HoldState::NoLimit, "The charge is not limited."},
      {[](auto& facts) { facts.limit = 100, hold(facts); }, HoldState::Pending,
       "still held for process 12 of user anna"},
      {[](auto& facts) { hold(facts); }, HoldState::Held,
       "BAT0: the charge is held (charge_behaviour inhibit-charge), for process 12 of user anna."},
      {[](auto& facts) { hold(facts), facts.limit = 90; }, HoldState::Pending, "BAT0: the charge is held"},
      {[](auto& facts) { hold(facts), facts.hasConsumer = false, facts.agentTrouble = "It hangs."; },
       HoldState::Held, "BAT0: the charge is held"},
      {[](auto& facts) { facts.batteries[0].attribute.clear(); }, HoldState::NotHeld,
       "cannot stop charging. A newer"},
      {[](auto& facts) { facts.helperTrouble = "No helper.", facts.helperAdvice = "Get one."; },
       HoldState::NotHeld, "No helper. Get one."},
      {[](auto& facts) { facts.isCoreOn = false; }, HoldState::NotHeld,
       "leave the core helper off. Switch it on with 'quorlinctl enable core'"},
      {[](auto& facts) { facts.agentTrouble = "No agent.", facts.agentAdvice = "Start it."; },
       HoldState::NotHeld, "No agent. Start it."},
      {[](auto& facts) { facts.hold.batteries[0].text = "the firmware kept x at 80; 63 was requested"; },
       HoldState::NotHeld, "BAT0: the firmware kept x at 80; 63 was requested."},
      {[](auto& facts) { facts.hold.batteries[0].text = "another program set x to 80; that value stays"; },
       HoldState::NotHeld, "stays. Switch the limit of the desktop's power manager"},
      {[](auto& facts) {
         facts.hold.batteries[0].text = "another program set x to 80; that value stays",
         facts.otherWriters = "TLP";
       },
       HoldState::NotHeld, "It may have been TLP;"},
      {[](auto& facts) { facts.hasConsumer = false; }, HoldState::NotHeld, "No program runs"},
      {[](auto& facts) { facts.batteries[0].battery.percent = 63; }, HoldState::WillHold,
       "The charge is 63 %; it will be held once it reaches 80 %."},
      {[](auto& facts) { facts.batteries[0].battery.percent = 0; }, HoldState::WillHold,
       "The charge is 0 %;"},
      {[](auto&) {}, HoldState::Pending, "has not held the charge yet."},
      {[](auto& facts) { facts.batteries[0].battery.state = kOnBattery; }, HoldState::WillHold,
       "is not being charged;"},
  };
  for (const auto& [change, state, line] : cases) {
    HoldFacts facts = allIsWell();
    change(facts);
    const HoldVerdict verdict = verdictOf(facts);
    EXPECT_THAT(verdict.line(), HasSubstr(line));
    EXPECT_EQ(wordOf(verdict.state), wordOf(state)) << line;
  }
}

}  // namespace
}  // namespace quorlin
