#include "fakes/FakeMachine.h"
#include "platform/KeyedArchiver.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMainApp = "brellwick.Quorlin";
constexpr const char* kWidget = "brellwick.Quorlin-Pro.QuorlinWidget";
const std::vector<std::string> kHeartbeat = {"QuorlinSensorsActive", "QuorlinSensorsActiveW",
                                             "QuorlinSensorsActiveM"};

const Dictionary kVersionOnly = {{"version", 12}};

TEST(SamplingLoop, HeartbeatIsPostedInOrderWithTheVersionAlone) {
  FakeMachine machine;
  machine.launchAndForget();
  machine.delegate.updateData();
  EXPECT_EQ(machine.center.names(), kHeartbeat);
  for (const Posted& posted : machine.center.posted) {
    EXPECT_EQ(posted.object, "QuorlinSensorsAgent");
    EXPECT_EQ(posted.userInfo, kVersionOnly);
    EXPECT_EQ(posted.delivery, Delivery::Immediate);
  }
  EXPECT_THAT(machine.engine.calls, IsEmpty()) << "nobody wants a sample";
}

TEST(SamplingLoop, SamplesForTheConsumersThatRunAndWantThem) {
  struct Case {
    const char* description;
    std::vector<std::optional<std::string>> processes;
    std::vector<RunningApplication> applications;
    bool active;
    bool sampled;
    std::vector<std::string> posted;
  };
  const std::vector<std::string> main = {"QuorlinSensorsDataM", "QuorlinSensorsDataMMini"};
  const std::vector<std::string> widget = {"QuorlinSensorsDataW", "QuorlinSensorsDataWMini"};
  const std::vector<std::string> both = {"QuorlinSensorsDataM", "QuorlinSensorsDataMMini",
                                         "QuorlinSensorsDataW", "QuorlinSensorsDataWMini"};
  const std::vector<Case> cases = {
      {"nobody", {std::nullopt, "org.example.Other"}, {{"org.example.Other"}}, true, false, {}},
      {"active main application", {std::nullopt, kMainApp}, {}, true, true, main},
      {"second main application", {"brellwick.Quorlin-Pro"}, {}, true, true, main},
      {"inactive main application", {kMainApp}, {}, false, true, {}},
      {"widget alone", {"brellwick.Quorlin.QuorlinWidget"}, {}, false, true, widget},
      {"widget, main application active but gone", {kWidget}, {}, true, true, both},
      {"both", {kWidget, std::nullopt, kMainApp}, {}, true, true, both},
      {"main application in the workspace only", {std::nullopt}, {{kMainApp}}, true, true, main},
      {"widget in the workspace only", {std::nullopt}, {{kWidget}}, true, false, {}},
      {"similar name", {"brellwick.Quorlin.Other", "brellwick.QuorlinSensors"}, {}, true, false, {}},
  };
  for (const Case& with : cases) {
    SCOPED_TRACE(with.description);
    FakeMachine machine;
    machine.defaults.integers = {{"autostart", 1}};
    machine.launchAndForget();
    machine.center.receive(with.active ? "QuorlinActive" : "QuorlinInactive");
    machine.processes.processes = with.processes;
    machine.workspace.running = with.applications;
    machine.delegate.updateData();

    std::vector<std::string> expected = kHeartbeat;
    expected.insert(expected.end(), with.posted.begin(), with.posted.end());
    EXPECT_EQ(machine.center.names(), expected);
    EXPECT_EQ(!machine.engine.calls.empty(), with.sampled);
  }
}

TEST(SamplingLoop, FollowsActiveAndInactiveOfTheMainApplication) {
  FakeMachine machine;
  machine.defaults.integers = {{"autostart", 1}};
  machine.launchAndForget();
  machine.processes.processes = {kMainApp};
  for (const bool active : {false, true, false}) {
    if (active) machine.center.receive("QuorlinActive");
    machine.center.posted.clear();
    machine.delegate.updateData();
    EXPECT_EQ(machine.center.posted.size(), active ? 5U : 3U);
    machine.center.receive("QuorlinInactive");
  }
}

TEST(SamplingLoop, SamplesHoldTheEnginesValuesReadInOrder) {
  FakeMachine machine;
  machine.defaults.integers = {{"autostart", 1}};
  machine.launchAndForget();
  machine.center.receive("QuorlinActive");
  machine.processes.processes = {kMainApp};
  machine.delegate.updateData();

  EXPECT_THAT(machine.engine.calls,
              ElementsAre("getSensorsInfo", "populate", "activities", "temperature", "temperatureData",
                          "fans", "fansData", "read", "write", "temperatureMini", "temperatureMiniData",
                          "fans", "fansData", "read", "write"));
  const PropertyList readActivity = archivedDataWithRootObject(Array{2.0});
  const PropertyList writeActivity = archivedDataWithRootObject(Array{1.0});
  Dictionary expected = {
      {"sensors", "temperature"},  {"sensorsData", "temperatureData"}, {"fans", "fans"},
      {"fansData", "fansData"},    {"readDiskIOData", readActivity},   {"writeDiskIOData", writeActivity},
      {"readDiskIOBytes", "read"}, {"writeDiskIOBytes", "write"},      {"version", 12}};
  EXPECT_EQ(machine.center.posted[3].userInfo, expected);
  expected[0].second = "temperatureMini";
  expected[1].second = "temperatureMiniData";
  EXPECT_EQ(machine.center.posted[4].userInfo, expected);
  EXPECT_EQ(machine.center.posted[4].object, "QuorlinSensorsAgent");
  EXPECT_EQ(machine.center.posted[4].delivery, Delivery::Immediate);
}

TEST(SamplingLoop, AMissingValueEndsTheSampleBeforeIt) {
  struct Case {
    const char* missing;
    std::size_t full;
    std::size_t reduced;
  };
  for (const Case& with : {Case{"temperature", 0, 9}, Case{"temperatureMiniData", 9, 1}, Case{"fans", 2, 2},
                           Case{"write", 7, 7}}) {
    SCOPED_TRACE(with.missing);
    FakeMachine machine;
    machine.launchAndForget();
    machine.engine.missing = with.missing;
    machine.processes.processes = {kWidget};
    machine.delegate.updateData();
    EXPECT_EQ(machine.center.posted[3].userInfo.size(), with.full);
    EXPECT_EQ(machine.center.posted[4].userInfo.size(), with.reduced);
  }
}

TEST(SamplingLoop, ActivitiesOtherThanTwoAreArchivedAsEmpty) {
  const PropertyList empty = archivedDataWithRootObject(Array{});
  for (const std::size_t count : {0U, 1U, 3U}) {
    FakeMachine machine;
    machine.launchAndForget();
    machine.engine.activities = Array(count, PropertyList(Array{1.0}));
    machine.processes.processes = {kWidget};
    machine.delegate.updateData();
    EXPECT_EQ(*find(machine.center.posted[3].userInfo, "readDiskIOData"), empty);
    EXPECT_EQ(*find(machine.center.posted[3].userInfo, "writeDiskIOData"), empty);
  }
}

TEST(SamplingLoop, WithEverythingOffATickDoesNothing) {
  FakeMachine machine;
  machine.defaults.integers.clear();
  machine.launchAndForget();
  machine.processes.processes = {kMainApp, kWidget};
  machine.delegate.updateData();
  EXPECT_THAT(machine.center.posted, IsEmpty());
}

/// A machine that holds its charge at 80 percent, with the core (else the sensors) alone on and the main
/// application running.
struct Laptop : FakeMachine {
  explicit Laptop(std::int64_t limit = 80, bool holding = false, bool core = true) {
    defaults.integers = {{core ? "coreAutostart" : "autostart", 1}, {"batterylimit", limit}};
    power.setBattery(50, true, true);
    launchAndForget();
    delegate.setPowerLimitEnabled(holding);
    processes.processes = {kMainApp};
  }

  /// The charge messages of one tick.
  std::vector<std::string> tick() {
    helper.messages.clear();
    delegate.updateData();
    std::vector<std::string> charge;
    for (const std::string& text : helper.texts()) {
      if (text.starts_with("charge")) charge.push_back(text.substr(text.rfind(' ') + 1));
    }
    return charge;
  }
};

TEST(PowerWork, MetricsAreFetchedEverySecondTickAndPublished) {
  Laptop machine;
  machine.tick();
  EXPECT_THAT(machine.helper.texts(),
              ElementsAre("metrics 1e7c765a --samplers cpu_power,gpu_power,ane_power,thermal -i 1000"));
  machine.helper.answerAll("CPU Power: 5 mW");
  ASSERT_THAT(machine.center.names(), ElementsAre("QuorlinSensorsCoreData"));
  const Posted& posted = machine.center.posted.front();
  EXPECT_EQ(posted.object, "QuorlinSensorsCoreAgent");
  EXPECT_EQ(posted.userInfo,
            (Dictionary{{"coreData", "CPU Power: 5 mW"}, {"batteryLimit", 80}, {"version", 12}}));
  EXPECT_EQ(posted.delivery, Delivery::Immediate);

  machine.tick();
  EXPECT_THAT(machine.helper.messages, IsEmpty());
  machine.processes.processes.clear();
  machine.tick();
  machine.processes.processes = {kMainApp};
  machine.tick();
  EXPECT_EQ(machine.helper.messages.size(), 1U) << "a tick without consumers does not count";
  machine.center.posted.clear();
  machine.helper.answerAll(std::nullopt);
  EXPECT_THAT(machine.center.posted, IsEmpty());
}

TEST(PowerWork, AStoredLimitBelowOneMeansAHundred) {
  for (const std::int64_t stored : {0, -3, 1, 100}) {
    Laptop machine(stored);
    machine.tick();
    machine.helper.answerAll("metrics");
    EXPECT_EQ(*find(machine.center.posted.front().userInfo, "batteryLimit"),
              PropertyList(stored < 1 ? 100 : stored));
  }
}

TEST(PowerWork, HoldsAtTheLimitAndReleasesBelowItWhateverTheHelperAnswers) {
  Laptop machine;
  machine.power.setBattery(80, true, true);
  EXPECT_THAT(machine.tick(), ElementsAre("hold"));
  EXPECT_FALSE(machine.delegate.powerLimitEnabled()) << "noted before the helper has answered";
  machine.helper.answerAll(std::nullopt);
  EXPECT_TRUE(machine.delegate.powerLimitEnabled());
  EXPECT_TRUE(machine.defaults.boolean("powerLimitEnabled"));
  EXPECT_THAT(machine.log.lines, ElementsAre("(null)"));

  machine.tick();
  machine.power.setBattery(79, true, false);
  EXPECT_THAT(machine.tick(), ElementsAre("release"));
  machine.helper.answerAll("ok");
  EXPECT_FALSE(machine.defaults.boolean("powerLimitEnabled"));
}

TEST(PowerWork, AHoldIsReleasedOnceTheBatteryIsInUse) {
  Laptop machine(80, true);
  machine.power.setBattery(85, false, false);
  EXPECT_THAT(machine.tick(), ElementsAre("release"));
  EXPECT_THAT(machine.helper.texts(),
              ElementsAre(testing::StartsWith("charge"), testing::StartsWith("metrics")));
}

TEST(PowerWork, WithoutConsumersAHoldIsReleasedAndTheReplyLogged) {
  Laptop machine(80, true);
  machine.processes.processes.clear();
  EXPECT_THAT(machine.tick(), ElementsAre("release"));
  EXPECT_TRUE(machine.delegate.powerLimitEnabled()) << "noted before the helper has answered";
  machine.helper.answerAll("resumed");
  EXPECT_THAT(machine.log.lines, ElementsAre("resumed"));
  EXPECT_THAT(machine.tick(), IsEmpty());
}

TEST(PowerWork, IsNotDoneOnAnOlderSystemOrWithoutTheCore) {
  for (const std::string_view lacking : {"version", "processor", "core"}) {
    SCOPED_TRACE(lacking);
    Laptop machine(80, true, lacking != "core");
    if (lacking == "version") machine.system.systemVersion = {.major = 12, .minor = 7};
    machine.system.powerWork = lacking != "processor";
    EXPECT_THAT(machine.tick(), IsEmpty());
    machine.processes.processes.clear();
    EXPECT_THAT(machine.tick(), IsEmpty());
  }
}

TEST(PowerWork, AMachineWithoutABatteryIsNotAskedAgain) {
  FakeMachine machine;
  machine.defaults.integers = {{"coreAutostart", 1}, {"batterylimit", 80}};
  machine.launchAndForget();
  machine.power.setBattery(90, true, true);
  machine.processes.processes = {kMainApp};
  machine.delegate.updateData();
  EXPECT_EQ(machine.helper.messages.size(), 1U) << "metrics only";
}

}  // namespace
}  // namespace quorlin
