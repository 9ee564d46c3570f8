#include "fakes/FakeMachine.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Launch, SettingsAboveZeroSwitchAFeatureOn) {
  for (const auto& [stored, enabled] :
       {std::pair(std::optional<std::int64_t>(), false), {0, false}, {-1, false}, {1, true}, {7, true}}) {
    SCOPED_TRACE(stored.value_or(-99));
    FakeMachine machine;
    machine.defaults.integers.clear();
    if (stored) machine.defaults.integers = {{"autostart", *stored}, {"coreAutostart", *stored}};
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.delegate.pluginEnabled(), enabled);
    EXPECT_EQ(machine.delegate.coreEnabled(), enabled);
  }
}

TEST(Launch, IsSilentByArgumentOrByTheLauncherAndElseOpensTheWindow) {
  for (const auto& [argument, running, silent] : {std::tuple("-silent", "org.example.Other", true),
                                                  {"--verbose", "brellwick.QuorlinSensorsHelper", true},
                                                  {"--silent", "org.example.Other", false}}) {
    SCOPED_TRACE(argument);
    FakeMachine machine;
    machine.application.given = {"quorlin-sensors", argument};
    machine.workspace.running = {{running}};
    machine.delegate.applicationDidFinishLaunching();

    EXPECT_EQ(machine.window.made, silent ? 0 : 1);
    EXPECT_EQ(machine.delegate.openedWindows(), silent ? 0 : 1);
    EXPECT_EQ(machine.application.foreground, !silent);
    const Posted first = machine.center.posted.front();
    EXPECT_EQ(first.name == "QRNSENSTERMINATEHELPER", silent);
    if (!silent) continue;
    EXPECT_EQ(first.object, "brellwick.QuorlinSensors");
    EXPECT_THAT(first.userInfo, IsEmpty());
    EXPECT_EQ(first.delivery, Delivery::Default);
  }
}

TEST(Launch, EndsWithEverythingOffAndNoWindowToSwitchItOn) {
  for (const auto& [silent, hasWindow, plugin, core, ends] : {std::tuple(true, true, 0, 0, true),
                                                              {true, true, 1, 0, false},
                                                              {true, true, 0, 1, false},
                                                              {false, true, 0, 0, false},
                                                              {false, false, 0, 0, true},
                                                              {false, false, 1, 0, false}}) {
    FakeMachine machine;
    if (!silent) machine.application.given.pop_back();
    machine.hasWindow = hasWindow;
    machine.defaults.integers = {{"autostart", plugin}, {"coreAutostart", core}};
    machine.defaults.dates.clear();
    machine.delegate.applicationDidFinishLaunching();
    machine.runLoop.runQueue();
    EXPECT_EQ(machine.application.terminateRequests, ends ? 1 : 0);
    EXPECT_EQ(machine.updateChecks.empty(), ends) << "one that ends looks for updates";
    EXPECT_THAT(machine.log.lines,
                Contains(testing::StartsWith("The agent ends because")).Times(ends ? 1 : 0));
  }
}

TEST(Launch, ComesToTheForegroundBeforeItsWindowIsMade) {
  FakeMachine machine;
  machine.application.given.pop_back();
  machine.delegate.applicationDidFinishLaunching();
  EXPECT_TRUE(machine.window.wasForeground);
}

TEST(Launch, SamplesAtOnceAndThenEveryThreeSeconds) {
  FakeMachine machine;
  machine.delegate.applicationDidFinishLaunching();
  EXPECT_THAT(machine.center.names(), Contains("QuorlinSensorsActive").Times(1));
  EXPECT_EQ(machine.runLoop.interval, std::chrono::seconds(3));
  machine.runLoop.fireTimer();
  EXPECT_THAT(machine.center.names(), Contains("QuorlinSensorsActive").Times(2));
}

TEST(Launch, TakesNoteOfAPeacefulEndOnce) {
  for (const std::int64_t stored : {1, 0}) {
    FakeMachine machine;
    machine.defaults.integers["terminatedPeacefully"] = stored;
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.delegate.terminatedPeacefully(), stored > 0);
    EXPECT_EQ(machine.defaults.integers.contains("terminatedPeacefully"), stored == 0);
  }
}

TEST(Launch, ChecksForUpdatesWhenTheLastCheckIsMoreThanTwoDaysOld) {
  for (const auto& [secondsAgo, checks] :
       {std::pair(std::optional<std::int64_t>(), 1U), {172800, 0}, {172801, 1}, {-50, 0}}) {
    SCOPED_TRACE(secondsAgo.value_or(0));
    FakeMachine machine;
    const Date now = machine.clock.time;
    machine.defaults.dates.clear();
    if (secondsAgo) machine.defaults.setDate("lastUpdateCheck", now - std::chrono::seconds(*secondsAgo));
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.updateChecks, std::vector<std::string>(checks, "background"));
    EXPECT_EQ(machine.defaults.date("lastUpdateCheck") == now, checks == 1);
  }
}

TEST(Updates, ShareOneUpdaterAndRecordEveryRequest) {
  FakeMachine machine;
  machine.launchAndForget();
  machine.delegate.checkForUpdates(true);
  machine.clock.time += std::chrono::hours(1);
  machine.delegate.checkForUpdates(false);
  EXPECT_THAT(machine.updateChecks, ElementsAre("background", "interactive"));
  EXPECT_EQ(machine.updatersMade, 1);
  EXPECT_EQ(machine.defaults.date("lastUpdateCheck"), machine.clock.time);
}

TEST(Launch, AMissingHelperUnlikeOneOfAnyVersionSwitchesTheCoreOffForThisRunOnly) {
  for (const auto& version : {std::optional<std::string>(), {""}}) {
    FakeMachine machine;
    machine.application.given = {"quorlin-sensors"};
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_THAT(machine.helper.texts(), ElementsAre("version"));
    machine.helper.answerAll(version);
    EXPECT_TRUE(machine.delegate.coreEnabled()) << "state changes on the main thread only";
    machine.runLoop.runQueue();
    EXPECT_EQ(machine.delegate.coreEnabled(), version.has_value());
    EXPECT_EQ(machine.window.coreSwitchUnchecked, !version.has_value());
    EXPECT_THAT(machine.log.lines, Contains("Core helper is installed").Times(version ? 1 : 0));
    EXPECT_EQ(machine.defaults.integer("coreAutostart"), 1);
  }
}

TEST(Launch, WithoutPowerWorkTheHelperIsLeftAlone) {
  for (const bool oldSystem : {false, true}) {
    FakeMachine machine;
    machine.system.powerWork = oldSystem;
    if (oldSystem) machine.system.systemVersion = {.major = 12, .minor = 9};
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.helper.connections, 0);
  }
}

}  // namespace
}  // namespace quorlin
