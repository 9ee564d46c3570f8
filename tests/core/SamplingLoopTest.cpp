#include "fakes/FakeMachine.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Processes = std::vector<std::optional<std::string>>;
using Names = std::vector<std::string>;

constexpr const char* kMainApp = "brellwick.Quorlin";
constexpr const char* kWidget = "brellwick.Quorlin-Pro.QuorlinWidget";
const Names kHeartbeat = {"QuorlinSensorsActive", "QuorlinSensorsActiveW", "QuorlinSensorsActiveM"};

/// A machine with the sensors alone on.
class SamplingLoop : public testing::Test {
 protected:
  SamplingLoop() {
    machine.defaults.integers = {{"autostart", 1}};
    machine.launchAndForget();
  }

  /// What one tick posts.
  const std::vector<Posted>& tick(Processes processes) {
    machine.forget();
    machine.processes.processes = std::move(processes);
    machine.delegate.updateData();
    return machine.center.posted;
  }

  FakeMachine machine;
};

TEST_F(SamplingLoop, HeartbeatIsPostedWithTheVersionAlone) {
  for (const Posted& posted : tick({})) {
    EXPECT_EQ(posted.object, "QuorlinSensorsAgent");
    EXPECT_EQ(posted.userInfo, (Dictionary{{"version", 12}}));
    EXPECT_EQ(posted.delivery, Delivery::Immediate);
  }
}

TEST_F(SamplingLoop, SamplesForTheConsumersThatRunAndWantThemAfterTheHeartbeat) {
  const Names main = {"QuorlinSensorsDataM", "QuorlinSensorsDataMMini"};
  const Names widget = {"QuorlinSensorsDataW", "QuorlinSensorsDataWMini"};
  const Names both = {main[0], main[1], widget[0], widget[1]};
  const struct {
    const char* description;
    const char* heard;  // from the main application, since the case before
    Processes processes;
    std::vector<RunningApplication> applications;
    bool sampled;
    Names posted;
  } cases[] = {
      {"main application, not heard of", "", {kMainApp}, {}, true, {}},
      {"nobody", "QuorlinActive", {std::nullopt, "org.example.Other"}, {{"org.example.Other"}}, false, {}},
      {"active main application", "", {std::nullopt, kMainApp}, {}, true, main},
      {"second main application", "", {"brellwick.Quorlin-Pro"}, {}, true, main},
      {"widget, main application active but gone", "", {kWidget}, {}, true, both},
      {"both", "", {kWidget, std::nullopt, kMainApp}, {}, true, both},
      {"main application in the workspace only", "", {std::nullopt}, {{kMainApp}}, true, main},
      {"widget in the workspace only", "", {std::nullopt}, {{kWidget}}, false, {}},
      {"similar names", "", {"brellwick.Quorlin.Other", "brellwick.QuorlinSensors"}, {}, false, {}},
      {"inactive main application", "QuorlinInactive", {kMainApp}, {}, true, {}},
      {"widget alone", "", {"brellwick.Quorlin.QuorlinWidget"}, {}, true, widget},
  };
  for (const auto& [description, heard, processes, applications, sampled, posted] : cases) {
    SCOPED_TRACE(description);
    if (*heard != '\0') machine.center.receive(heard);
    machine.workspace.running = applications;
    tick(processes);
    Names expected = kHeartbeat;
    expected.insert(expected.end(), posted.begin(), posted.end());
    EXPECT_EQ(machine.center.names(), expected);
    EXPECT_EQ(!machine.engine.calls.empty(), sampled);
  }
}

/// A machine that holds its charge at a limit, with the core (else the sensors) alone on and the main
/// application running.
struct Laptop : FakeMachine {
  explicit Laptop(bool holding = false, bool core = true) {
    defaults.integers = {{core ? "coreAutostart" : "autostart", 1}, {"batterylimit", 80}};
    power.setBattery(50, true, true);
    launchAndForget();
    delegate.setPowerLimitEnabled(holding);
    processes.processes = {kMainApp};
  }

  /// The charge messages of one tick.
  Names tick() {
    helper.messages.clear();
    delegate.updateData();
    Names charge;
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

TEST(PowerWork, HoldsForConsumersAndReleasesWithoutThem) {
  Laptop machine;
  machine.power.setBattery(80, true, true);
  EXPECT_THAT(machine.tick(), ElementsAre("hold"));
  EXPECT_THAT(machine.helper.texts().back(), testing::StartsWith("metrics"));
  machine.helper.answerAll("held");
  machine.processes.processes.clear();
  EXPECT_THAT(machine.tick(), ElementsAre("release"));
  machine.helper.answerAll("released");
  EXPECT_THAT(machine.tick(), IsEmpty());
}

TEST(PowerWork, IsNotDoneOnAnOlderSystemOrWithoutTheCore) {
  for (const std::string_view lacking : {"version", "processor", "core"}) {
    SCOPED_TRACE(lacking);
    Laptop machine(true, lacking != "core");
    if (lacking == "version") machine.system.systemVersion = {.major = 12, .minor = 7};
    machine.system.powerWork = lacking != "processor";
    EXPECT_THAT(machine.tick(), IsEmpty());
    machine.processes.processes.clear();
    EXPECT_THAT(machine.tick(), IsEmpty());
  }
}

}  // namespace
}  // namespace quorlin
