#include "fakes/TemporaryFolder.h"
#include "platform/linux/processes/ProcessManager.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;

/// A /proc of plain files, and the names on a bus.
class ProcessManagerTest : public testing::Test {
 protected:
  void start(int id, const std::string& application) const {
    folder_.write(std::to_string(id) + "/cgroup",
                  application.empty() ? "0::/\n" : "0::/app.slice/app-" + application + "-1.scope\n");
  }
  void end(int id) const { std::filesystem::remove_all(folder_.path() / std::to_string(id)); }

  std::vector<std::string> list() {
    std::vector<std::string> applications;
    manager_.enumerateProcesses(
        [&](std::optional<std::string_view> id) { applications.emplace_back(id.value_or("-")); });
    return applications;
  }

  TemporaryFolder folder_;
  std::set<std::string, std::less<>> names_;
  ProcfsProcessManager manager_{folder_.path(), names_};
};

TEST_F(ProcessManagerTest, ListsProcessesThatComeAndGoByRisingIdAndSkipsWhatIsNone) {
  start(1, "");
  start(300, "org.example.Late");
  start(20, "org.example.Early");
  for (const char* name : {"self", "sys", "12 (a) b", "7\n8", "0", "-5", "99999999999", "1e3"}) {
    folder_.write(std::string(name) + "/cgroup", "0::/app-org.example.No-1.scope\n");
  }
  std::filesystem::create_directory(folder_.path() / "400");  // ended while it was listed
  EXPECT_THAT(list(), ElementsAre("-", "org.example.Early", "org.example.Late"));
  start(3, "org.example.New");
  EXPECT_THAT(list(), ElementsAre("-", "org.example.New", "org.example.Early", "org.example.Late"));
  end(20);
  EXPECT_THAT(list(), ElementsAre("-", "org.example.New", "org.example.Late"));
}

TEST_F(ProcessManagerTest, SkipsAProcessWhileItCannotBeOpened) {
  start(1, "");
  start(5, "org.example.Other");
  const std::filesystem::path group = folder_.path() / "5/cgroup";
  std::filesystem::remove(group);
  std::filesystem::create_symlink(group, group);  // which leads nowhere, though it is there
  EXPECT_THAT(list(), ElementsAre("-"));
  std::filesystem::remove(group);
  start(5, "org.example.Other");
  EXPECT_THAT(list(), ElementsAre("-", "org.example.Other"));
  std::filesystem::remove(group);
  std::filesystem::create_symlink(group, group);
  EXPECT_THAT(list(), ElementsAre("-")) << "though it was known";
}

TEST_F(ProcessManagerTest, LooksTwiceForAUnitAndThenRemembersIt) {
  start(5, "");
  EXPECT_THAT(list(), ElementsAre("-"));
  start(5, "org.example.Moved");
  EXPECT_THAT(list(), ElementsAre("org.example.Moved")) << "moved by its launcher after its start";
  start(5, "org.example.Again");
  EXPECT_THAT(list(), ElementsAre("org.example.Moved")) << "not opened a third time";
}

TEST_F(ProcessManagerTest, TellsAReusedIdByItsInode) {
  start(5, "org.example.Old");
  list();
  list();
  // The old folder lives on elsewhere, so that its inode cannot be given to the new one.
  std::filesystem::rename(folder_.path() / "5", folder_.path() / "old");
  start(5, "org.example.New");
  EXPECT_THAT(list(), ElementsAre("org.example.New"));
}

TEST_F(ProcessManagerTest, AddsApplicationsOfTheBusThatHaveNoProcess) {
  start(5, "brellwick.Quorlin");
  names_ = {"brellwick.Quorlin", "brellwick.Quorlin.QuorlinWidget"};
  EXPECT_THAT(list(), ElementsAre("brellwick.Quorlin", "brellwick.Quorlin.QuorlinWidget"));
  names_.clear();
  EXPECT_THAT(list(), ElementsAre("brellwick.Quorlin"));
}

TEST_F(ProcessManagerTest, ListsTenThousandProcesses) {
  for (int id = 1; id <= 10'000; ++id) start(id, id == 9'999 ? "brellwick.Quorlin" : "");
  const std::vector<std::string> applications = list();
  ASSERT_EQ(applications.size(), 10'000U);
  EXPECT_EQ(applications[9'998], "brellwick.Quorlin");
  EXPECT_EQ(list(), applications);
}

TEST(ProcessManager, WithoutProcfsFindsNobody) {
  const std::set<std::string, std::less<>> names;
  ProcfsProcessManager manager("/nonexistent", names);
  manager.enumerateProcesses([](auto) { FAIL(); });
}

TEST(ProcessManager, FindsThisVeryProcessInTheRealList) {
  const std::set<std::string, std::less<>> names;
  ProcfsProcessManager manager("/proc", names);
  int count = 0;
  manager.enumerateProcesses([&](auto) { ++count; });
  EXPECT_GT(count, 1);
}

}  // namespace
}  // namespace quorlin
