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

TEST(UninstallingTheHelper, SendsTheKeyOfTheMomentAndWaitsForNothing) {
  FakeMachine machine;
  machine.launchAndForget();
  machine.system.name = "renamed";
  machine.delegate.uninstallHelper();
  EXPECT_THAT(machine.helper.texts(), ElementsAre("uninstall " + *machine.delegate.getKey()));
  machine.helper.answerAll(std::nullopt);
  EXPECT_THAT(machine.log.lines, testing::IsEmpty());
}

}  // namespace
}  // namespace quorlin
