#include "fakes/TemporaryFolder.h"
#include "platform/posix/FileDescriptor.h"
#include "programs/nettop/ProcessTraffic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

class ProcessTrafficTest : public testing::Test {
 protected:
  void process(const std::string& id, const std::string& comm, const std::vector<std::string>& links) const {
    if (!comm.empty()) procfs_.write(id + "/comm", comm);
    const std::filesystem::path folder = procfs_.path() / id / "fd";
    std::filesystem::create_directories(folder);
    for (std::size_t i = 0; i < links.size(); ++i) {
      std::filesystem::create_symlink(links[i], folder / std::to_string(i < 2 ? i : 10 * i));  // with a gap
    }
  }

  Result<std::vector<ProcessTraffic>> traffic() const {
    return trafficByProcess(procfs_.path(), connections_);
  }

  TemporaryFolder procfs_;
  std::vector<Connection> connections_ = {{7, 1, 2}, {70, 10, 20}, {4294967295, 100, 200}};
};

TEST_F(ProcessTrafficTest, IsSummedForTheLowestProcessThatHoldsAConnection) {
  process("1", "", {"socket:[70]"});  // ended just now
  procfs_.write("2/fd", "closed");
  process("300", "third\n", {"socket:[7]", "socket:[70]"});
  process("20", "second\n", {"/dev/null", "socket:[7]", "socket:[4294967295]", "socket:[7]", "socket:[8]"});
  process("3", "first\n", {"pipe:[70]", "socket:[", "socket:[4294967296]"});
  EXPECT_THAT(*traffic(), ElementsAre(FieldsAre(20, "second", 101, 202), FieldsAre(300, "third", 10, 20)));
}

TEST_F(ProcessTrafficTest, IsLookedForUntilAllIsFound) {
  process("5", "all\n", {"socket:[7]", "socket:[70]", "socket:[4294967295]"});
  process("6", "later\n", {});
  const FileDescriptor events(inotify_init1(IN_NONBLOCK));
  inotify_add_watch(events.get(), (procfs_.path() / "6/fd").c_str(), IN_OPEN);
  for (const bool isFound : {true, false}) {
    EXPECT_EQ(traffic()->size(), 1U);
    std::array<char, 4096> buffer;
    EXPECT_EQ(read(events.get(), buffer.data(), buffer.size()) < 0, isFound);
    connections_.insert(connections_.begin(), {6, 0, 0});
  }
}

TEST_F(ProcessTrafficTest, IsATroubleWhereDescriptorsAreLacking) {
  process("5", "all\n", {"socket:[7]", "socket:[70]", "socket:[4294967295]"});
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit low = {64, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &low);
  std::vector<FileDescriptor> taken;
  do {
    taken.emplace_back(dup(STDIN_FILENO));
  } while (taken.back());
  std::vector<std::string> texts;
  for (int spare = 0; spare < 4; ++spare) {
    const auto found = traffic();
    texts.push_back(found ? std::to_string(found->size()) : found.error().text());
    taken.erase(taken.begin());
  }
  setrlimit(RLIMIT_NOFILE, &limit);
  const std::string reason = "cannot be examined: Too many open files";
  EXPECT_THAT(texts, ElementsAre(procfs_.path().string() + " cannot be listed: Too many open files",
                                 "the processes " + reason, "the processes " + reason, "1"));
}

}  // namespace
}  // namespace quorlin
