#include "fakes/FakeLog.h"
#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/desktop/DefaultUrlHandler.h"
#include "platform/linux/desktop/Workspace.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/processes/Spawn.h"

#include <atomic>
#include <csignal>
#include <limits>

#include <gmock/gmock.h>
#include <sys/wait.h>

namespace quorlin {
namespace {

using testing::IsEmpty;

class WorkspaceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    // GLib looks once.
    static const TemporaryFolder data;
    data.write("applications/org.example.Viewer.desktop", "[Desktop Entry]\n");
    setenv("XDG_DATA_DIRS", data.path().c_str(), 1);
    static const TemporaryFolder own;
    own.write("applications/org.example.Own.desktop", "[Desktop Entry]\n");
    setenv("XDG_DATA_HOME", own.path().c_str(), 1);
  }

  ~WorkspaceTest() override {
    kill(child_, SIGKILL);
    waitForEnd(child_);
  }
  WorkspaceTest() = default;

  void describe(pid_t process, pid_t parent, const std::string& group) const {
    const std::filesystem::path folder = std::to_string(process);
    procfs_.write(folder / "cgroup", "0::/user.slice/" + group + "\n");
    procfs_.write(folder / "stat",
                  std::to_string(process) + " (a) (b c) S " + std::to_string(parent) + " 1 1 0\n");
  }

  int signalThatEndedTheChild() const {
    const std::optional<int> status = waitForEnd(child_);
    return status && WIFSIGNALED(*status) ? WTERMSIG(*status) : 0;
  }

  PrivateBus daemon_;
  TemporaryFolder procfs_;
  FakeLog log_;
  const Bus bus_ = Bus::openSession();
  const BusSource busSource_{bus_};
  ApplicationNames names_{bus_};
  LinuxWorkspace workspace_{bus_, names_, procfs_.path(), log_};
  pid_t child_ = spawn("sleep", {"600"}, {.output = {}, .folder = {}, .detached = true}).value_or(-1);
};

constexpr const char* kUnit = "app.slice/app-gnome-org.example.Editor-77.scope";

TEST_F(WorkspaceTest, ReachesTheFirstProcessOfAnApplicationsUnit) {
  describe(child_, 1, kUnit);
  EXPECT_EQ(workspace_.terminateApplication(child_), true);
  EXPECT_EQ(signalThatEndedTheChild(), SIGTERM);
}

TEST_F(WorkspaceTest, EndsByForceWhatItReaches) {
  describe(child_, 1, kUnit);
  describe(1, 0, "init.scope");
  EXPECT_EQ(workspace_.forceTerminateApplication(child_), true);
  EXPECT_EQ(signalThatEndedTheChild(), SIGKILL);
}

TEST_F(WorkspaceTest, LeavesOtherProcessesAlone) {
  EXPECT_EQ(workspace_.forceTerminateApplication(child_), std::nullopt) << "without a control group";
  describe(child_, 1, "session-2.scope");
  EXPECT_EQ(workspace_.forceTerminateApplication(child_), std::nullopt) << "of no application's unit";
  describe(child_, 1, kUnit);
  describe(1, 0, kUnit);
  EXPECT_EQ(workspace_.forceTerminateApplication(child_), std::nullopt) << "started by the application";
  kill(child_, SIGINT);
  EXPECT_EQ(signalThatEndedTheChild(), SIGINT) << "it was signalled before";
}

TEST_F(WorkspaceTest, KnowsNoApplicationWhereThereIsNoProcess) {
  kill(child_, SIGKILL);
  waitForEnd(child_);
  describe(child_, 1, kUnit);
  for (const pid_t process : {child_, 0, -1, std::numeric_limits<pid_t>::max()}) {
    EXPECT_EQ(workspace_.terminateApplication(process), std::nullopt) << process;
  }
}

std::atomic<int> terminations = 0;

/// The owner of a name in this test is the test itself.
TEST_F(WorkspaceTest, ReachesTheOwnersOfApplicationNamesAndOfNoOthers) {
  const auto before = std::signal(SIGTERM, [](int) { ++terminations; });
  for (const auto& [name, times] : {std::pair("org.example.Service", 0),
                                    {"org.example.Viewer", 1},
                                    {"org.example.Own", 1},
                                    {"brellwick.Quorlin", 1}}) {
    SCOPED_TRACE(name);
    terminations = 0;
    const Bus owner = Bus::openSession();
    sd_bus_request_name(owner.get(), name, 0);
    EXPECT_EQ(workspace_.terminateApplication(getpid()), times == 1 ? std::optional(true) : std::nullopt);
    EXPECT_TRUE(runUntil([expected = times] { return terminations == expected; }));
  }
  std::signal(SIGTERM, before);
}

TEST(DefaultUrlHandler, StandsFirstForBothSpellingsAndLeavesTheRest) {
  const std::string both = "x-scheme-handler/A.Scheme=me.desktop\nx-scheme-handler/a.scheme=me.desktop\n";
  const std::string group = "[Default Applications]\n";
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"nothing", "", group + both},
      {"itself", group + both, group + both},
      {"another",
       group + "x-scheme-handler/A.Scheme=it.desktop;\nx-scheme-handler/a.scheme=me.desktop;it.desktop\n",
       group + "x-scheme-handler/A.Scheme=me.desktop;it.desktop;\nx-scheme-handler/"
               "a.scheme=me.desktop;it.desktop\n"},
      {"other types",
       "# mine\n\n[Added Associations]\ntext/plain=a.desktop;\n\n" + group + "text/html=b.desktop\n",
       "# mine\n\n[Added Associations]\ntext/plain=a.desktop;\n\n" + group + "text/html=b.desktop\n" + both},
  };
  for (const auto& [what, before, after] : cases) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path() / "mimeapps.list";
    const std::filesystem::path former = folder.path() / "former";
    if (!before.empty()) {
      std::filesystem::create_hard_link(folder.write("dotfiles/list", before), former);
      std::filesystem::create_symlink("dotfiles/list", file);
    }
    EXPECT_FALSE(setDefaultUrlHandler(file, "A.Scheme", "me"));
    EXPECT_EQ(folder.read("mimeapps.list"), after) << what;
    EXPECT_EQ(std::filesystem::is_symlink(file), !before.empty()) << "the link replaced";
    const bool untouched = !before.empty() && std::filesystem::equivalent(file, former);
    EXPECT_EQ(untouched, after == before);
  }
}

TEST(DefaultUrlHandler, IsNotWrittenOverAFileThatCannotBeRead) {
  const TemporaryFolder folder;
  const auto file = folder.write("mimeapps.list", "no group\n");
  for (const std::filesystem::path& path : {file, file / "below a file"}) {
    const std::optional<Trouble> trouble = setDefaultUrlHandler(path, "scheme", "me");
    ASSERT_TRUE(trouble) << path;
    EXPECT_EQ(trouble->where, file) << "what is in the way";
  }
  EXPECT_EQ(folder.read("mimeapps.list"), "no group\n");
}

}  // namespace
}  // namespace quorlin
