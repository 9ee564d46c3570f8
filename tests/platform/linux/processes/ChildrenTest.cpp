#include "fakes/FakeLog.h"
#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/desktop/WorkflowEngine.h"
#include "platform/linux/loop/DispatchQueue.h"
#include "platform/linux/processes/Task.h"
#include "platform/posix/FileDescriptor.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace quorlin {
namespace {

using testing::HasSubstr;

/// Also those that have ended and wait to be taken note of.
bool hasChildren() {
  siginfo_t child{};
  return waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0;
}

TEST(LaunchedTasks, RunWithoutInputInASessionOfTheirOwnAndAreReaped) {
  const TemporaryFolder folder;
  // This process has things that its child must not inherit: an input, an open file, an ignored signal.
  const FileDescriptor input(open(folder.write("input", "not for the child\n").c_str(), O_RDONLY));
  dup2(input.get(), STDIN_FILENO);
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  const std::string command = "exec > " + (folder.path() / "output").string() +
                              "; cat; ps -o sid= -p $$; echo $$; test -e /proc/$$/fd/" +
                              std::to_string(input.get()) + " && echo open; kill -PIPE $$; echo alive";
  ASSERT_TRUE(LinuxTaskLauncher().launch("/bin/sh", {"-c", command}));
  ASSERT_TRUE(runUntil([] { return !hasChildren(); }));
  std::signal(SIGPIPE, before);
  std::istringstream lines(folder.read("output"));
  int session = 0;
  int process = 0;
  lines >> session >> process;
  EXPECT_GT(process, 0);
  EXPECT_EQ(session, process);
  std::string more;
  EXPECT_FALSE(lines >> more) << more;
}

TEST(LaunchedTasks, ThatCannotStartLeaveNothingBehind) {
  const TemporaryFolder folder;
  const std::string plain = folder.write("plain", "text").string();
  for (const std::string& path : {std::string("/nonexistent"), folder.path().string(), plain}) {
    EXPECT_FALSE(LinuxTaskLauncher().launch(path, {})) << path;
  }
  EXPECT_FALSE(LinuxTaskLauncher().launch("/bin/sh", {"-c", std::string("true\0; true", 11)}));
  EXPECT_FALSE(LinuxTaskLauncher().launch(std::string("/bin/sh\0", 8), {"-c", "true"}));
  EXPECT_FALSE(LinuxTaskLauncher().launch("/bin/sh", {"-c", std::string(2'000'000, ' ')}));
  EXPECT_FALSE(hasChildren());
}

TEST(DispatchQueue, WorksOnOtherThreadsAndFinishesWhatItHasBegun) {
  std::atomic<int> done = 0;
  {
    LinuxDispatchQueue queue;
    for (int i = 0; i < 100; ++i) {
      queue.async([&done, main = std::this_thread::get_id()] {
        if (std::this_thread::get_id() != main) ++done;
      });
    }
  }
  EXPECT_EQ(done, 100);
}

std::string described(const Result<WorkflowCommand>& command) {
  if (!command) return "no: " + command.error().why;
  std::string text = command->program;
  for (const std::string& argument : command->arguments) text += "|" + argument;
  return command->folder.empty() ? text : text + " in " + command->folder;
}

TEST(WorkflowCommand, OfADesktopEntryIsItsExecLineWithoutFieldCodes) {
  const std::string application = "[Desktop Entry]\nType=Application\nName=My Work\n";
  const std::pair<std::string, std::string> cases[] = {
      {application + "Exec=work %U --name=%c %% %i done\n", "work|--name=My Work|%|done"},
      {application + "Exec=\"/opt/my work/do\" \"a \\\\$b\" %f\nPath=/tmp\n", "/opt/my work/do|a $b in /tmp"},
      {application + "Exec=work \"\" x%fy 100%\n", "work||xy|100%"},
      {application + "Exec=work\nTerminal=true\n", "no: it needs a terminal"},
      {application + "Exec=work\nHidden=true\n", "no: its desktop entry is marked as deleted"},
      {application + "Exec=work \"open\n", "no: its desktop entry has no valid command line"},
      {application, "no: its desktop entry has no valid command line"},
      {"[Desktop Entry]\nType=Link\nURL=file:///\n", "no: its desktop entry is not an application's"},
      {"", "no: its desktop entry is not an application's"},
  };
  for (const auto& [entry, command] : cases) {
    const TemporaryFolder folder;
    EXPECT_EQ(described(workflowCommand(folder.write("a.desktop", entry))), command) << entry;
  }
}

TEST(WorkflowEngine, RunsAFileOnceAndWaitsForItAndSaysWhatItCannotRun) {
  const TemporaryFolder folder;
  FakeLog log;
  LinuxWorkflowEngine engine(log);
  const std::filesystem::path script = folder.write("work",
                                                    "#!/bin/sh\ntest $(ps -o sid= -p $$) = $$ && echo \"in a "
                                                    "session of its own in $PWD\" >> \"$0.done\"\nexit 3\n");
  chmod(script.c_str(), S_IRWXU);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  engine.runWorkflow("work");
  std::filesystem::current_path(before);
  const std::string done = "in a session of its own in " + folder.path().string() + "\n";
  EXPECT_EQ(folder.read("work.done"), done);
  folder.write("it.desktop", "[Desktop Entry]\nType=Application\nPath=/\nExec=" + script.string() + "\n");
  engine.runWorkflow(folder.path() / "it.desktop");
  EXPECT_EQ(folder.read("work.done"), done + "in a session of its own in /\n");
  EXPECT_THAT(log.lines, testing::IsEmpty());

  const std::string plain = folder.write("plain", "text").string();
  for (const std::string& path :
       {std::string("/nonexistent"), folder.path().string(), plain, std::string()}) {
    log.lines.clear();
    engine.runWorkflow(path);
    ASSERT_EQ(log.lines.size(), 1U) << path;
    EXPECT_THAT(log.lines[0], HasSubstr("the workflow '" + path + "' cannot be run: "));
    EXPECT_THAT(log.lines[0], testing::Not(HasSubstr(std::strerror(0))));
  }
}

}  // namespace
}  // namespace quorlin
