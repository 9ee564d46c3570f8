#include "fakes/FakeMachine.h"

#include <optional>
#include <vector>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kOn = "brellwick.QuorlinSensorsHelper on";
constexpr const char* kOff = "brellwick.QuorlinSensorsHelper off";

TEST(Autostart, ThePluginsSwitchTakesTheLoginItemAlongUnlessTheCoreHelperNeedsIt) {
  const struct {
    bool wasOn;
    bool coreOn;
    bool enable;
    bool refuses;
    const char* asked;
    int stored;
  } cases[] = {{false, false, true, false, kOn, 1}, {true, false, false, false, kOff, 0},
               {true, true, false, false, kOn, 0},  {false, true, true, false, kOn, 1},
               {false, false, true, true, kOn, 0},  {true, false, false, true, kOff, 1}};
  for (const auto& with : cases) {
    FakeMachine machine;
    machine.defaults.integers = {{"autostart", with.wasOn ? 1 : 0}, {"coreAutostart", with.coreOn ? 1 : 0}};
    machine.launchAndForget();
    machine.loginItems.refuses = with.refuses;
    EXPECT_EQ(machine.delegate.setAutostart(with.enable), !with.refuses);
    EXPECT_THAT(machine.loginItems.calls, ElementsAre(with.asked));
    EXPECT_EQ(machine.defaults.integers["autostart"], with.stored);
    EXPECT_EQ(machine.delegate.pluginEnabled(), with.stored == 1);
  }
}

TEST(Autostart, TheCoreHelpersSwitchReportsEachOutcomeInItsOrder) {
  const struct {
    std::optional<std::string> version;
    bool blessed;
    bool refuses;
    std::vector<bool> outcomes;
  } cases[] = {{"1.0", false, false, {true}},
               {"1.0", false, true, {false, true}},
               {std::nullopt, true, false, {true}},
               {std::nullopt, true, true, {false, true}},
               {std::nullopt, false, false, {false}}};
  for (const auto& with : cases) {
    FakeMachine machine;
    machine.defaults.integers = {{"autostart", 1}};
    machine.launchAndForget();
    machine.loginItems.refuses = with.refuses;
    std::vector<bool> outcomes;
    machine.delegate.setCoreAutostart(true, [&](bool success) { outcomes.push_back(success); });
    EXPECT_THAT(machine.helper.texts(), ElementsAre("version"));
    EXPECT_THAT(outcomes, IsEmpty()) << "before the helper has answered";
    machine.helper.answerAll(with.version);
    machine.runLoop.runQueue();
    EXPECT_EQ(machine.blessing.blessed.size(), with.version ? 0U : 1U);
    EXPECT_FALSE(machine.delegate.coreEnabled() && !with.version) << "while a password is typed";
    if (machine.blessing.answer) machine.blessing.answer(with.blessed);
    EXPECT_EQ(outcomes, with.outcomes);
    const bool isOn = with.outcomes.back();
    EXPECT_EQ(machine.delegate.coreEnabled(), isOn);
    EXPECT_EQ(machine.defaults.integers.contains("coreAutostart"), isOn);
    EXPECT_EQ(machine.defaults.integers["coreAutostart"], isOn ? 1 : 0);
    EXPECT_EQ(machine.loginItems.calls.size(), isOn ? 1U : 0U);
    EXPECT_THAT(machine.loginItems.calls, testing::Each(kOn));
  }
}

TEST(Autostart, TheCoreHelperGoesOffAtOnceAndAHeldChargeIsReleased) {
  for (const bool held : {true, false}) {
    FakeMachine machine;
    machine.defaults.booleans = {{"powerLimitEnabled", held}};
    machine.launchAndForget();
    std::vector<bool> outcomes;
    machine.delegate.setCoreAutostart(false, [&](bool success) { outcomes.push_back(success); });
    EXPECT_THAT(outcomes, ElementsAre(true)) << "before the helper has answered";
    EXPECT_FALSE(machine.delegate.coreEnabled());
    EXPECT_EQ(machine.defaults.integers["coreAutostart"], 0);
    EXPECT_THAT(machine.loginItems.calls, IsEmpty());
    EXPECT_EQ(machine.helper.messages.size(), held ? 1U : 0U);
    EXPECT_EQ(machine.delegate.powerLimitEnabled(), held);
    machine.defaults.onSetBoolean = [&] {
      EXPECT_THAT(machine.log.lines, Contains("let go")) << "logged first";
    };
    machine.helper.answerAll("let go");
    EXPECT_FALSE(machine.delegate.powerLimitEnabled());
  }
}

TEST(Autostart, TheAgentStaysForTheProgramThatWorksItsSwitches) {
  for (const bool switchesOn : {true, false}) {
    FakeMachine machine;
    machine.defaults.integers.clear();
    machine.delegate.applicationDidFinishLaunching();
    machine.delegate.setSwitchesInUse(true);  // the call that the system has started the agent for
    machine.runLoop.runQueue();
    EXPECT_EQ(machine.application.terminateRequests, 0);
    if (switchesOn) machine.delegate.setAutostart(true);
    machine.delegate.setSwitchesInUse(false);
    EXPECT_EQ(machine.application.terminateRequests, switchesOn ? 0 : 1);
  }
}

TEST(Autostart, TellsOfEveryChangeOfASwitchOrTheHold) {
  FakeMachine machine;
  machine.power.setBattery(60, true, true);
  machine.launchAndForget();
  int changes = 0;
  machine.delegate.setChangeHandler([&] { ++changes; });
  const std::vector<std::function<void()>> acts = {[&] { machine.delegate.setPluginEnabled(false); },
                                                   [&] { machine.delegate.finalizeCoreAutostart(false); },
                                                   [&] { machine.delegate.setBatteryLimit(80); },
                                                   [&] { machine.delegate.setPowerLimitEnabled(true); }};
  for (std::size_t i = 0; i < acts.size(); ++i) {
    const int before = changes;
    acts[i]();
    EXPECT_GT(changes, before) << i;
  }
}

}  // namespace
}  // namespace quorlin
