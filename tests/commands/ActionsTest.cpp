#include "fakes/FakeMachine.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string urlFor(const FakeMachine& machine, const std::string& order) {
  return "brellwick.QuorlinSensors.quorlinio://" + machine.delegate.getKey().value_or("any") + "/" + order;
}

TEST(Urls, AreHandledOnceTheAgentHasRegisteredForThem) {
  FakeMachine machine;
  machine.delegate.applicationWillFinishLaunching();
  EXPECT_EQ(machine.workspace.urlHandler, "brellwick.QuorlinSensors.quorlinio brellwick.QuorlinSensors");
  machine.launchAndForget();
  machine.system.name = "renamed";  // whose key counts from now on
  machine.application.urlHandler(urlFor(machine, "terminateapp/41"));
  machine.application.urlHandler(urlFor(machine, "forceterminateapp/42"));
  machine.application.urlHandler("brellwick.QuorlinSensors.quorlinio://00000000/forceterminateapp/43");
  for (const char* order :
       {"terminateapp/0", "terminateapp", "TerminateApp/44", "terminateapp /45", "quit/1", "/"}) {
    machine.application.urlHandler(urlFor(machine, order));
  }
  EXPECT_THAT(machine.workspace.requests, ElementsAre("terminate 41", "force 42"));
}

TEST(Terminating, ReturnsWhatTheApplicationAnsweredAndTrueWithoutOne) {
  FakeMachine machine;
  machine.workspace.obeys = {{41, true}, {42, false}};
  for (const auto& [pid, expected] : {std::pair(41, true), std::pair(42, false), std::pair(43, true)}) {
    EXPECT_EQ(machine.delegate.terminateAppByPID(pid), expected) << pid;
    EXPECT_EQ(machine.delegate.forceTerminateAppByPID(pid), expected) << pid;
  }
}

TEST(ATerminalCommand, StartsInTheBackgroundAndMayFail) {
  FakeMachine machine;
  machine.delegate.handleURLEvent(urlFor(machine, "terminalcommand/echo%20%22a%20b%22%20%26%26%20ls"));
  EXPECT_THAT(machine.tasks.launched, IsEmpty());
  for (const auto& action : machine.dispatchQueue.queue) action();
  EXPECT_THAT(machine.tasks.launched, ElementsAre(ElementsAre("/bin/sh", "-c", "echo \"a b\" && ls")));
}

TEST(AWorkflow, IsRunAtOnceAndAlwaysSucceeds) {
  FakeMachine machine;
  machine.delegate.handleURLEvent(urlFor(machine, "runworkflow/%2Fhome%2Fme%2Fit"));
  EXPECT_TRUE(machine.delegate.runWorkflow("/nowhere"));
  EXPECT_THAT(machine.workflows.run, ElementsAre("/home/me/it", "/nowhere"));
}

TEST(TheBatteryLimit, IsStoredAndSampledWithWithinItsBounds) {
  for (const auto& [argument, stored, released] : {std::tuple("50", false, false),
                                                   {"51", true, false},
                                                   {"99", true, false},
                                                   {"100", true, true},
                                                   {"101", false, false},
                                                   {"x", false, false}}) {
    SCOPED_TRACE(argument);
    FakeMachine machine;
    machine.processes.processes = {"brellwick.Quorlin"};
    machine.launchAndForget();  // which asked for metrics, so that the next tick would not
    machine.defaults.booleans["powerLimitEnabled"] = true;
    machine.delegate.handleURLEvent(urlFor(machine, std::string("batterylimit/") + argument));

    EXPECT_EQ(machine.defaults.integers.contains("batterylimit"), stored);
    EXPECT_EQ(machine.defaults.integer("batterylimit"), stored ? std::atoi(argument) : 0);
    const std::string key = *machine.delegate.getKey();
    std::vector<std::string> expected;
    if (released) expected.push_back("charge " + key + " release");
    if (stored) {
      expected.push_back("metrics " + key + " --samplers cpu_power,gpu_power,ane_power,thermal -i 1000");
    }
    EXPECT_EQ(machine.helper.texts(), expected);
    EXPECT_EQ(machine.center.posted.empty(), !stored);

    EXPECT_TRUE(machine.defaults.boolean("powerLimitEnabled")) << "noted before the helper has answered";
    machine.helper.answerAll(std::nullopt);
    EXPECT_EQ(machine.defaults.boolean("powerLimitEnabled"), !released);
    EXPECT_EQ(machine.log.lines, released ? std::vector<std::string>{"(null)"} : std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace quorlin
