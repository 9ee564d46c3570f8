#include "fakes/FakeMachine.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;

TEST(InstallingTheHelper, SaysHowItWentAndHandsOnWhatTheLaunchWasGiven) {
  struct Case {
    bool powerWork;
    bool hasAuthorizations;
    bool succeeds;
    const char* blessed;
    const char* line;
  };
  const std::string label = "com.brellwick.Quorlin-Core-Helper";
  for (const Case& with : {Case{true, true, true, " with authorization", "installed"},
                           Case{true, true, false, " with authorization", "install failed!"},
                           Case{true, false, true, " without authorization", "installed"},
                           Case{false, true, true, " without authorization", "installed"}}) {
    FakeMachine machine;
    machine.system.powerWork = with.powerWork;
    machine.blessing.hasAuthorizations = with.hasAuthorizations;
    machine.blessing.succeeds = with.succeeds;
    machine.launchAndForget();
    EXPECT_THAT(machine.blessing.blessed, testing::IsEmpty()) << "blessed at launch";
    EXPECT_EQ(machine.delegate.installHelper(), with.succeeds);
    EXPECT_THAT(machine.blessing.blessed, ElementsAre(label + with.blessed));
    EXPECT_THAT(machine.log.lines, ElementsAre(with.line));
  }
}

TEST(CallsOfTheHelper, SendTheKeyOfTheMomentAndUninstallingWaitsForNothing) {
  struct Case {
    void (*call)(AppDelegate&);
    std::string beforeTheKey;
    std::string afterTheKey;
  };
  for (const std::optional<std::string>& name : {std::optional<std::string>("renamed"), {}}) {
    for (const Case& with : {Case{[](AppDelegate& agent) { agent.limitCharge([](const auto&) {}, true); },
                                  "charge ", " release"},
                             Case{[](AppDelegate& agent) { agent.getStatisticsData([](const auto&) {}); },
                                  "metrics ", " --samplers cpu_power,gpu_power,ane_power,thermal -i 1000"},
                             Case{[](AppDelegate& agent) { agent.uninstallHelper(); }, "uninstall ", ""}}) {
      FakeMachine machine;
      machine.launchAndForget();
      machine.system.name = name;
      with.call(machine.delegate);
      const std::string key = machine.delegate.getKey().value_or("");
      EXPECT_THAT(machine.helper.texts(), ElementsAre(with.beforeTheKey + key + with.afterTheKey));
      machine.helper.answerAll(std::nullopt);
      EXPECT_THAT(machine.log.lines, testing::IsEmpty());
    }
  }
}

}  // namespace
}  // namespace quorlin
