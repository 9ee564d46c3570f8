#include "commands/PercentEncoding.h"
#include "commands/RequestKey.h"
#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/system/System.h"
#include "programs/quorlinctl/FakeService.h"
#include "programs/quorlinctl/commands/CommandLine.h"
#include "programs/quorlinctl/commands/RequestArguments.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <cstdlib>
#include <memory>
#include <sstream>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The settings and the machine of all tests of the program, from before the first one: GLib asks for the
/// settings' folder only once.
class Computer final : public testing::Environment {
 public:
  void SetUp() override {
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    setenv("QUORLIN_SYSFS_ROOT", folder.path().c_str(), 1);
  }
  const TemporaryFolder folder;
};
const Computer& computer =
    static_cast<Computer&>(*testing::AddGlobalTestEnvironment(std::make_unique<Computer>().release()));

struct FakeAgent {
  static int open(sd_bus_message* message, void* userdata, sd_bus_error* error) {
    auto* self = static_cast<FakeAgent*>(userdata);
    if (self->refuses) return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "not today");
    sd_bus_message_enter_container(message, 'a', "s");
    for (const char* url = nullptr; sd_bus_message_read_basic(message, 's', &url) > 0;) {
      self->opened.emplace_back(url);
    }
    return sd_bus_reply_method_return(message, nullptr);
  }

  std::vector<std::string> opened;
  bool refuses = false;
  FakeService service{sd_bus_open_user, "brellwick.QuorlinSensors", "/brellwick/QuorlinSensors", open, this};
};

using Words = std::vector<std::string>;

/// What a command line says on standard output and on the error stream, and its exit status.
struct Said {
  int status = 0;
  std::string output;
  std::string complaints;
};

Said whatIsSaidTo(const Words& words) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int status = runCommandLine(words);
  return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

std::filesystem::path program(const TemporaryFolder& folder, const char* name) {
  const auto file = folder.write(name, "#!/bin/sh\n");
  std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  return file;
}

TEST(Requests, ReachTheAgentAsUrlsAndAreConfirmed) {
  const PrivateBus daemon;
  const TemporaryFolder folder;
  const std::string script = program(folder, "a b").native();
  const std::string start =
      "brellwick.QuorlinSensors.quorlinio://" + *requestKey(LinuxSystem().localizedHostName()) + "/";
  const std::tuple<Words, std::string, std::string> cases[] = {
      {{"terminate", "1"}, "terminateapp/1", "Asked the agent to quit application 1.\n"},
      {{"force-terminate", "2147483647"},
       "forceterminateapp/2147483647",
       "Asked the agent to end application 2147483647 at once.\n"},
      {{"terminal", "ls", "--help", "--", "/tmp"},
       "terminalcommand/ls%20--help%20--%20%2Ftmp",
       "Asked the agent to run the command.\n"},
      {{"workflow", script},
       "runworkflow/" + percentEncoded(script),
       "Asked the agent to run " + script + ".\n"},
      {{"workflow", std::filesystem::relative(script).native()},
       "runworkflow/" +
           percentEncoded((std::filesystem::current_path() / std::filesystem::relative(script)).native()),
       ""},
  };
  EXPECT_THAT(whatIsSaidTo({"terminate", "1"}).complaints, HasSubstr("the agent is not running"));
  FakeAgent agent;
  for (const auto& [words, url, confirmation] : cases) {
    agent.opened.clear();
    const Said said = whatIsSaidTo(words);
    EXPECT_EQ(said.status, kExitOk) << said.complaints;
    EXPECT_THAT(said.output, HasSubstr(confirmation));
    EXPECT_THAT(agent.opened, ElementsAre(start + url));
  }
  EXPECT_EQ(whatIsSaidTo({"terminate", "2147483647"}).complaints,
            "quorlinctl: warning: there is no process 2147483647\n");
  agent.refuses = true;
  const Said refused = whatIsSaidTo({"terminate", "1"});
  EXPECT_EQ(refused.status, kExitFailed);
  EXPECT_THAT(refused.complaints, HasSubstr("not today"));
  EXPECT_THAT(refused.output, IsEmpty());
}

TEST(Requests, RefuseWhatTheyCannotRead) {
  const std::string noLimit = " is not a limit of 51 to 100 percent";
  const std::pair<Words, std::string> cases[] = {
      {{"battery-limit", "50"}, "'50'" + noLimit},
      {{"battery-limit", "101%"}, "'101%'" + noLimit},
      {{"battery-limit", "80%%"}, "'80%%'" + noLimit},
      {{"battery-limit", "+80"}, "'+80'" + noLimit},
      {{"battery-limit", "80", "81"}, "Unexpected argument '81'"},
      {{"battery-limit", "80", "--keep", "--no-keep"}, "--keep and --no-keep exclude each other"},
      {{"terminate", "2147483648"}, "'2147483648' is not a process id"},
      {{"force-terminate", "0"}, "'0' is not a process id"},
      {{"terminal", "--", ""}, "The command is missing"},
      {{"terminal", "\xFF"}, "The command is not UTF-8"},
      {{"workflow", ""}, "'' is not a file name in UTF-8"},
      {{"helper", "update"}, "'update' is neither 'install' nor 'remove'"},
  };
  for (const auto& [words, complaint] : cases) {
    const Said said = whatIsSaidTo(words);
    EXPECT_EQ(said.status, kExitUsage) << complaint;
    EXPECT_EQ(said.complaints,
              "quorlinctl: " + complaint + " (see: quorlinctl " + words.front() + " --help)\n");
    EXPECT_THAT(said.output, IsEmpty());
  }
}

TEST(Subcommands, AreAllDescribedInColumnsOfATerminal) {
  const std::string overview = whatIsSaidTo({"-h"}).output;
  for (const Subcommand& subcommand : subcommands()) {
    EXPECT_THAT(overview, HasSubstr(std::string("  ") + subcommand.name + " ")) << subcommand.name;
    const Said help = whatIsSaidTo({subcommand.name, "--help"});
    EXPECT_EQ(help.status, kExitOk);
    EXPECT_THAT(help.output, HasSubstr(std::string("Usage: quorlinctl ") + subcommand.name));
    for (const Option& option : subcommand.options) EXPECT_THAT(help.output, HasSubstr(option.name));
    for (const char* const status : {"  0 ", "  1 ", "  2 "}) EXPECT_THAT(help.output, HasSubstr(status));
    std::istringstream lines(help.output + overview);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST(Requests, OfAComputerWithoutNameCarryNoKey) {
  EXPECT_EQ(commandUrl(std::nullopt, "terminalcommand", "a/b"),
            "brellwick.QuorlinSensors.quorlinio:///terminalcommand/a%2Fb");
}

TEST(Requests, RefuseWorkflowsThatCannotRun) {
  const TemporaryFolder folder;
  const auto executable = program(folder, "program");
  const std::string entry = "[Desktop Entry]\nType=Application\nExec=true\n";
  const std::pair<std::filesystem::path, std::string_view> cases[] = {
      {executable, ""},
      {folder.write("good.desktop", entry), ""},
      {folder.write("terminal.desktop", entry + "Terminal=true\n"), "needs a terminal"},
      {folder.write("text", ""), "neither executable"},
      {folder.path(), "not a regular file"},
      {folder.path() / "absent", "No such file"},
      {executable / "below", "Not a directory"},
  };
  for (const auto& [file, obstacle] : cases) {
    const std::optional<Objection> objection = checkWorkflow(file);
    EXPECT_THAT(objection.value_or(Objection()).reason, HasSubstr(obstacle)) << file;
    EXPECT_EQ(objection.has_value(), !obstacle.empty()) << file;
  }
}

}  // namespace
}  // namespace quorlin
