#include "fakes/FakeMachine.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;

TEST(InstallingTheHelper, SaysHowItWentAndHandsOnWhatTheLaunchWasGiven) {
  const std::string label = "com.brellwick.Quorlin-Core-Helper";
  for (const auto& [powerWork, hasAuthorizations, succeeds, blessed, line] :
       {std::tuple(true, true, true, " with authorization", "installed"),
        {true, true, false, " with authorization", "install failed!"},
        {true, false, true, " without authorization", "installed"},
        {false, true, true, " without authorization", "installed"}}) {
    FakeMachine machine;
    machine.system.powerWork = powerWork;
    machine.blessing.hasAuthorizations = hasAuthorizations;
    machine.launchAndForget();
    EXPECT_THAT(machine.blessing.blessed, testing::IsEmpty()) << "blessed at launch";
    std::vector<bool> completed;
    machine.delegate.installHelper([&](bool installed) {
      EXPECT_THAT(machine.log.lines, ElementsAre(line));
      completed.push_back(installed);
    });
    EXPECT_THAT(machine.blessing.blessed, ElementsAre(label + blessed));
    EXPECT_THAT(machine.log.lines, testing::IsEmpty()) << "before the user has answered";
    machine.blessing.answer(succeeds);
    EXPECT_THAT(completed, ElementsAre(succeeds));
  }
}

TEST(CallsOfTheHelper, SendTheKeyOfTheMomentAndUninstallingWaitsForNothing) {
  using Call = void (*)(AppDelegate&);
  const std::tuple<Call, std::string, std::string> cases[] = {
      {[](AppDelegate& agent) { agent.limitCharge([](const auto&) {}, true); }, "charge ", " release"},
      {[](AppDelegate& agent) { agent.getStatisticsData([](const auto&) {}); }, "metrics ",
       " --samplers cpu_power,gpu_power,ane_power,thermal -i 1000"},
      {[](AppDelegate& agent) { agent.uninstallHelper(); }, "uninstall ", ""}};
  for (const std::optional<std::string>& name : {std::optional<std::string>("renamed"), {}}) {
    for (const auto& [call, beforeTheKey, afterTheKey] : cases) {
      FakeMachine machine;
      machine.launchAndForget();
      machine.system.name = name;
      call(machine.delegate);
      const std::string key = machine.delegate.getKey().value_or("");
      EXPECT_THAT(machine.helper.texts(), ElementsAre(beforeTheKey + key + afterTheKey));
      machine.helper.answerAll(std::nullopt);
      EXPECT_THAT(machine.log.lines, testing::IsEmpty());
    }
  }
}

}  // namespace
}  // namespace quorlin
