#include "fakes/FakeMachine.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Launch, SettingsAboveZeroSwitchAFeatureOn) {
  struct Case {
    std::optional<std::int64_t> stored;
    bool enabled;
  };
  for (const Case& with :
       {Case{std::nullopt, false}, Case{0, false}, Case{-1, false}, Case{1, true}, Case{7, true}}) {
    SCOPED_TRACE(with.stored.value_or(-99));
    FakeMachine machine;
    machine.defaults.integers.clear();
    if (with.stored) {
      machine.defaults.integers = {{"autostart", *with.stored}, {"coreAutostart", *with.stored}};
    }
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.delegate.pluginEnabled(), with.enabled);
    EXPECT_EQ(machine.delegate.coreEnabled(), with.enabled);
  }
}

TEST(Launch, IsSilentByArgumentOrByTheLauncherAndElseOpensTheWindow) {
  struct Case {
    const char* argument;
    const char* running;
    bool silent;
  };
  for (const Case& with :
       {Case{"-silent", "org.example.Other", true}, Case{"--verbose", "brellwick.QuorlinSensorsHelper", true},
        Case{"--silent", "org.example.Other", false}}) {
    SCOPED_TRACE(with.argument);
    FakeMachine machine;
    machine.application.given = {"quorlin-sensors", with.argument};
    machine.workspace.running = {{with.running}};
    machine.delegate.applicationDidFinishLaunching();

    EXPECT_EQ(machine.window.made, with.silent ? 0 : 1);
    EXPECT_EQ(machine.delegate.openedWindows(), with.silent ? 0 : 1);
    EXPECT_EQ(machine.application.foreground, !with.silent);
    const Posted first = machine.center.posted.front();
    EXPECT_EQ(first.name == "QRNSENSTERMINATEHELPER", with.silent);
    if (with.silent) {
      EXPECT_EQ(first.object, "brellwick.QuorlinSensors");
      EXPECT_THAT(first.userInfo, IsEmpty());
      EXPECT_EQ(first.delivery, Delivery::Default);
    }
  }
}

TEST(Launch, GoesOnWhereThePlatformHasNoWindow) {
  FakeMachine machine;
  machine.application.given = {"quorlin-sensors"};
  machine.hasWindow = false;
  machine.delegate.applicationDidFinishLaunching();
  EXPECT_EQ(machine.delegate.openedWindows(), 0);
  EXPECT_THAT(machine.log.lines, Contains(testing::HasSubstr("configuration window is not available")));
  EXPECT_THAT(machine.center.names(), Contains("QuorlinSensorsActive"));
}

TEST(Launch, SilentWithEverythingOffAsksToTerminateAndOnlyThen) {
  struct Case {
    bool silent;
    std::int64_t plugin;
    std::int64_t core;
    int requests;
  };
  for (const Case& with :
       {Case{true, 0, 0, 1}, Case{true, 1, 0, 0}, Case{true, 0, 1, 0}, Case{false, 0, 0, 0}}) {
    FakeMachine machine;
    if (!with.silent) machine.application.given.pop_back();
    machine.defaults.integers = {{"autostart", with.plugin}, {"coreAutostart", with.core}};
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.application.terminateRequests, with.requests);
  }
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
  struct Case {
    std::optional<std::int64_t> secondsAgo;
    bool checks;
  };
  for (const Case& with :
       {Case{std::nullopt, true}, Case{172800, false}, Case{172801, true}, Case{-50, false}}) {
    SCOPED_TRACE(with.secondsAgo.value_or(0));
    FakeMachine machine;
    machine.defaults.dates.clear();
    if (with.secondsAgo) {
      machine.defaults.setDate("lastUpdateCheck",
                               machine.clock.time - std::chrono::seconds(*with.secondsAgo));
    }
    machine.delegate.applicationDidFinishLaunching();
    EXPECT_EQ(machine.updateChecks,
              with.checks ? std::vector<std::string>{"background"} : std::vector<std::string>{});
    EXPECT_EQ(machine.defaults.date("lastUpdateCheck") == machine.clock.time, with.checks);
  }
}

TEST(Updates, ShareOneUpdaterAndRecordEveryRequest) {
  FakeMachine machine;
  machine.launchAndForget();
  machine.clock.time += std::chrono::hours(1);
  machine.delegate.checkForUpdates(false);
  machine.delegate.checkForUpdates(true);
  EXPECT_THAT(machine.updateChecks, ElementsAre("interactive", "background"));
  EXPECT_EQ(machine.updatersMade, 1);
  EXPECT_EQ(machine.defaults.date("lastUpdateCheck"), machine.clock.time);
}

TEST(Launch, AMissingHelperSwitchesTheCoreOffForThisRunOnly) {
  FakeMachine machine;
  machine.application.given = {"quorlin-sensors"};
  machine.delegate.applicationDidFinishLaunching();
  EXPECT_THAT(machine.helper.texts(), ElementsAre("version"));
  machine.helper.answerAll(std::nullopt);
  EXPECT_TRUE(machine.delegate.coreEnabled()) << "state changes on the main thread only";
  machine.runLoop.runQueue();
  EXPECT_FALSE(machine.delegate.coreEnabled());
  EXPECT_TRUE(machine.window.coreSwitchUnchecked);
  EXPECT_EQ(machine.defaults.integer("coreAutostart"), 1);
}

TEST(Launch, AHelperOfAnyVersionIsTakenNoteOf) {
  FakeMachine machine;
  machine.delegate.applicationDidFinishLaunching();
  machine.helper.answerAll("");
  machine.runLoop.runQueue();
  EXPECT_THAT(machine.log.lines, ElementsAre("Core helper is installed"));
  EXPECT_TRUE(machine.delegate.coreEnabled());
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

TEST(Helper, ConnectionIsMadeOnFirstUseKeptAndMadeAnewAfterInvalidation) {
  FakeMachine machine;
  machine.launchAndForget();
  machine.delegate.getHelperVersion([](const auto&) {});
  machine.delegate.limitCharge([](const auto&) {}, true);
  EXPECT_EQ(machine.helper.connections, 1);
  machine.helper.invalidate();
  machine.runLoop.runQueue();
  EXPECT_THAT(machine.log.lines, ElementsAre("connection invalidated"));
  machine.delegate.getHelperVersion([](const auto&) {});
  EXPECT_EQ(machine.helper.connections, 2);
}

TEST(HelperDeathTest, IsCalledOnTheMainThreadOnly) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  FakeMachine machine;
  machine.runLoop.onMainThread = false;
  EXPECT_DEATH(machine.delegate.getHelperVersion([](const auto&) {}), "\\[NSThread isMainThread\\]");
}

}  // namespace
}  // namespace quorlin
