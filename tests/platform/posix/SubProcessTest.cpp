#include "fakes/TemporaryFolder.h"
#include "platform/SubProcess.h"
#include "platform/posix/FileDescriptor.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// The function of the C library that says that it failed, when it has done its work.
std::string_view failing;

}  // namespace
}  // namespace quorlin

/// Stands before the C library's own in this program.
#define QUORLIN_MAY_FAIL(name, failure, parameters, arguments)                             \
  extern "C" int name parameters noexcept {                                                \
    static const auto real = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #name)); \
    const int result = real arguments;                                                     \
    return quorlin::failing == #name ? failure : result;                                   \
  }
QUORLIN_MAY_FAIL(grantpt, -1, (int master), (master))
QUORLIN_MAY_FAIL(unlockpt, -1, (int master), (master))
QUORLIN_MAY_FAIL(ptsname_r, ENOTTY, (int master, char* name, std::size_t size), (master, name, size))
QUORLIN_MAY_FAIL(posix_spawn_file_actions_adddup2, ENOMEM,
                 (posix_spawn_file_actions_t * actions, int from, int onto), (actions, from, onto))

namespace quorlin {
namespace {

std::string text(const ByteBuffer& buffer) { return {buffer.bytes().begin(), buffer.bytes().end()}; }

bool shell(SubProcess& process, const std::string& command) {
  return process.execute("/bin/sh", {"-c", command});
}

/// 1 to last, each with an end.
std::string numbers(int last, const char* end) {
  std::string all;
  for (int number = 1; number <= last; ++number) all += std::to_string(number) + end;
  return all;
}

volatile std::sig_atomic_t signals = 0;

/// SIGUSR1 then interrupts what this process waits in.
void countSignals() {
  signals = 0;
  struct sigaction action {};
  action.sa_handler = [](int) { signals = signals + 1; };
  sigaction(SIGUSR1, &action, nullptr);
}

std::vector<int> openDescriptors() {
  std::vector<int> open;
  for (int number = 0; number < 2 * FD_SETSIZE; ++number) {
    if (fcntl(number, F_GETFD) >= 0) open.push_back(number);
  }
  return open;
}

TEST(SubProcess, CollectsWhatAChildWritesAndItsRawStatus) {
  using Case = std::tuple<bool, std::string, std::string, std::string, int>;
  const std::string inherited =
      "for d in 0 1 2; do test /proc/$$/fd/$d -ef /proc/$PPID/fd/$d && echo $d; done; test -t 1 && echo tty";
  const std::string signalling = "for i in $(seq 50); do kill -USR1 $PPID; done; echo late; exit 3";
  const std::string withoutOutput =
      "exec bash -c 'cd /proc/$$/fd; for d in *; do ((d < 3)) || eval \"exec $d>&-\"; done; exec >&-; exec "
      "seq 9 >&2'";
  for (const auto& [terminal, command, output, error, result] : std::vector<Case>{
           {false, "echo out; echo err >&2; exit 3", "out\n", "err\n", 3 << 8},
           {false, "echo err >&2; kill -KILL $$", "", "err\n", SIGKILL},
           {false, inherited + " || exit 3", "0\n", "", 3 << 8},
           {false, "seq 400000 >&2 & seq 300000; wait", numbers(300'000, "\n"), numbers(400'000, "\n"), 0},
           {false, withoutOutput, "", numbers(9, "\n"), 0},
           {false, signalling, "late\n", "", 3 << 8},
           {true, inherited, "0\r\n2\r\ntty\r\n", "", 0},
           {true, "seq 300000; kill -KILL $$", numbers(300'000, "\r\n"), "", SIGKILL},
           {true, signalling, "late\r\n", "", 3 << 8},
       }) {
    SCOPED_TRACE(command);
    countSignals();
    const std::vector<int> before = openDescriptors();
    SubProcess process;
    process.setUsePseudoTerminal(terminal);
    EXPECT_TRUE(shell(process, command));
    EXPECT_TRUE(text(process.standardOutput()) == output);
    EXPECT_TRUE(text(process.standardError()) == error);
    EXPECT_EQ(process.result(), result);
    EXPECT_EQ(signals > 0, command == signalling);
    EXPECT_EQ(openDescriptors(), before);
  }
}

TEST(SubProcess, StartsWithThePathAsArgumentZeroAndTheOtherArgumentsAsTheyAre) {
  SubProcess process;
  EXPECT_TRUE(process.execute("/bin/cat", {"/proc/self/cmdline"}));
  EXPECT_TRUE(process.execute("/bin/sh", {"-c", "printf '%s|' \"$@\"", "", "two\nlines", "", "ä *"}));
  EXPECT_EQ(text(process.standardOutput()),
            std::string("/bin/cat\0/proc/self/cmdline\0", 28) + "two\nlines||ä *|");
}

TEST(SubProcess, ReturnsTheDebugOutputSetAndRunsNothing) {
  const auto data = [](std::string_view text) {
    return text.empty() ? nullptr : std::make_shared<Data>(text.begin(), text.end());
  };
  SubProcess process;
  process.setTimedout(true);
  for (const auto& [output, error] : {std::pair("", "error"), {"output", "error"}, {"output", ""}}) {
    process.setDebugStandardOutput(data(output));
    process.setDebugStandardError(data(error));
    EXPECT_TRUE(shell(process, "echo ran; exit 3"));
  }
  EXPECT_EQ(text(process.standardOutput()) + "|" + text(process.standardError()), "outputoutput|errorerror");
  EXPECT_EQ(process.result(), 0);
}

TEST(SubProcess, LeavesASilentChildClosesItsEndsAndWaitsForIt) {
  const TemporaryFolder folder;
  const std::string release = (folder.path() / "release").string();
  ASSERT_EQ(mkfifo(release.c_str(), S_IRWXU), 0);
  const std::string wait = ": < " + release + "; kill -USR1 $PPID; ";
  const std::string write = "trap '' PIPE; " + wait + "{ echo x; } 2>/dev/null || exit 4";
  const std::string closed = "exec >&- 2>&-; " + wait + "exit 4";
  // No time is enough where the child is silent from the start.
  for (const auto& [terminal, timeout, command] :
       {std::tuple(false, 0, write), {true, 0, write}, {false, 1, closed}, {true, 1, closed}}) {
    countSignals();
    SubProcess process;
    process.setUsePseudoTerminal(terminal);
    process.setTimeout(timeout);
    FileDescriptor released;
    std::thread releasing([&] {
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
      while (!process.timedout() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
      released = FileDescriptor(open(release.c_str(), O_RDWR));
    });
    EXPECT_FALSE(shell(process, command)) << command;
    releasing.join();
    EXPECT_EQ(process.result(), 4 << 8) << command;
    process.setTimeout(30);
    EXPECT_FALSE(shell(process, "echo more")) << "until the caller sets it back";
    process.setTimedout(false);
    EXPECT_TRUE(shell(process, "echo more"));
    process.setTimeout(-1);
    EXPECT_TRUE(shell(process, "trap '' PIPE; { echo unread; } 2>/dev/null; exit 5"));
    EXPECT_EQ(process.result(), 5 << 8);
    EXPECT_EQ(text(process.standardOutput()), terminal ? "more\r\nmore\r\n" : "more\nmore\n");
  }
}

/// While it lives, only that many descriptors below FD_SETSIZE are free, and above it those up to the limit.
class FewDescriptors {
 public:
  FewDescriptors(std::size_t free, int limit) {
    getrlimit(RLIMIT_NOFILE, &before_);
    setLimit(2 * FD_SETSIZE);
    do used_.emplace_back(open("/dev/null", O_RDONLY));
    while (used_.back().get() < FD_SETSIZE);
    used_.resize(used_.size() - 1 - free);
    setLimit(limit);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  void setLimit(int limit) const {
    const rlimit limits = {static_cast<rlim_t>(limit), before_.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &limits) != 0) throw std::runtime_error("cannot limit the descriptors");
  }
  rlimit before_{};
  std::vector<FileDescriptor> used_;
};

TEST(SubProcess, ThatCannotStartChangesNothingAndLeavesNothingOpen) {
  SubProcess process;
  EXPECT_TRUE(shell(process, "echo before; exit 3"));
  const auto expectFailure = [&](bool terminal, const std::string& path, const std::string& argument) {
    const std::vector<int> before = openDescriptors();
    process.setUsePseudoTerminal(terminal);
    EXPECT_FALSE(process.execute(path, {argument})) << terminal << path << argument.substr(0, 9) << failing;
    EXPECT_EQ(text(process.standardOutput()) + text(process.standardError()), "before\n");
    EXPECT_EQ(process.result(), 3 << 8);
    EXPECT_FALSE(process.timedout());
    std::vector<int> left;
    std::ranges::set_difference(openDescriptors(), before, std::back_inserter(left));
    for (const int number : left) close(number);
    return left.size();
  };
  const TemporaryFolder folder;
  const std::string plain = folder.write("plain", "#!/bin/true").string();
  const std::string zero("/bin/true\0", 10);
  for (const bool terminal : {false, true}) {
    for (const std::string& path :
         {std::string("/nonexistent"), std::string("true"), folder.path().string(), plain, zero}) {
      EXPECT_EQ(expectFailure(terminal, path, ""), 0U);
    }
    for (const std::string& argument : {zero, std::string(2'000'000, ' ')}) {
      EXPECT_EQ(expectFailure(terminal, "/bin/true", argument), 0U);
    }
    // Not enough are as many as this for all ends; or only for the one or two to read from, below FD_SETSIZE.
    for (const auto& [most, limit] :
         {std::pair(terminal ? 1U : 3U, FD_SETSIZE), {terminal ? 0U : 2U, 2 * FD_SETSIZE}}) {
      for (std::size_t free = 0; free <= most; ++free) {
        const FewDescriptors few(free, limit);
        EXPECT_EQ(expectFailure(terminal, "/bin/true", ""), 0U) << free << " below " << limit;
      }
    }
  }
  for (const std::string_view function : {"grantpt", "unlockpt", "ptsname_r"}) {
    failing = function;
    EXPECT_EQ(expectFailure(true, "/bin/true", ""), 0U);
  }
  failing = "posix_spawn_file_actions_adddup2";
  EXPECT_EQ(expectFailure(false, "/bin/true", ""), 0U);
  EXPECT_EQ(expectFailure(true, "/bin/true", ""), 1U) << "the slave";
  failing = {};
}

TEST(SubProcess, GetsNoControllingTerminalThatWouldHangUpTheAgent) {
  const auto runAsLeaderOfASession = [] {
    SubProcess process;
    process.setUsePseudoTerminal(true);
    _exit(setsid() > 0 && shell(process, "echo text") ? 0 : 1);
  };
  EXPECT_EXIT(runAsLeaderOfASession(), testing::ExitedWithCode(0), "");
}

TEST(SubProcess, RunsBesideAnotherOnAnotherThread) {
  const auto run = [](bool terminal) {
    for (int i = 0; i < 5; ++i) {
      SubProcess process;
      process.setUsePseudoTerminal(terminal);
      EXPECT_TRUE(shell(process, "seq 100000"));
      EXPECT_TRUE(text(process.standardOutput()) == numbers(100'000, terminal ? "\r\n" : "\n"));
    }
  };
  std::thread other(run, false);
  run(true);
  other.join();
}

}  // namespace
}  // namespace quorlin
