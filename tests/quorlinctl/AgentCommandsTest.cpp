#include "commands/PercentEncoding.h"
#include "commands/RequestKey.h"
#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/System.h"
#include "quorlinctl/Agent.h"
#include "quorlinctl/AgentCommands.h"
#include "quorlinctl/FakeService.h"

#include <cstdlib>
#include <functional>
#include <memory>

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

/// What a command says on standard output and on the error stream, and its exit status.
struct Said {
  int status = 0;
  std::string output;
  std::string complaints;
};

template <typename Send>
Said whatIsSaidBy(const Send& send) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int status = send();
  return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

std::filesystem::path program(const TemporaryFolder& folder, const char* name) {
  const auto file = folder.write(name, "#!/bin/sh\n");
  std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  return file;
}

TEST(AgentCommands, ReachTheAgentAsUrlsAndSayWhatWasSent) {
  const PrivateBus daemon;
  const TemporaryFolder folder;
  const std::string script = program(folder, "a b").native();
  const std::string start =
      "brellwick.QuorlinSensors.quorlinio://" + *requestKey(LinuxSystem().localizedHostName()) + "/";
  const std::string process = " was sent to the agent (process " + std::to_string(getpid()) + ").\n";
  const std::tuple<std::function<int()>, std::string, std::string> cases[] = {
      {[] { return sendBatteryLimit({.help = false, .percent = 80}); }, "batterylimit/80",
       "The charge limit of 80 %"},
      {[] { return sendTerminate({.help = false, .process = 1}); }, "terminateapp/1",
       "The wish to quit application 1"},
      {[] { return sendForceTerminate({.help = false, .process = 1}); }, "forceterminateapp/1",
       "The order to end application 1"},
      {[] { return sendTerminalCommand({.help = false, .command = "ls /tmp"}); },
       "terminalcommand/ls%20%2Ftmp", "The command"},
      {[&] { return sendWorkflow({.help = false, .file = script}); }, "runworkflow/" + percentEncoded(script),
       "The workflow " + script},
  };
  const std::function<int()>& terminate = std::get<0>(cases[1]);
  EXPECT_THAT(whatIsSaidBy(terminate).complaints, HasSubstr("no agent runs in this session"));
  FakeAgent agent;
  for (const auto& [send, url, what] : cases) {
    agent.opened.clear();
    const Said said = whatIsSaidBy(send);
    EXPECT_EQ(said.status, kExitOk) << said.complaints;
    EXPECT_EQ(said.output, what + process);
    EXPECT_THAT(agent.opened, ElementsAre(start + url));
  }
  agent.refuses = true;
  const Said refused = whatIsSaidBy(terminate);
  EXPECT_EQ(refused.status, kExitFailed);
  EXPECT_THAT(refused.complaints, HasSubstr("not today"));
  EXPECT_THAT(refused.output, IsEmpty());
}

TEST(AgentCommands, OfAComputerWithoutNameCarryNoKey) {
  EXPECT_EQ(commandUrl(std::nullopt, "terminalcommand", "a/b"),
            "brellwick.QuorlinSensors.quorlinio:///terminalcommand/a%2Fb");
}

TEST(AgentCommands, WarnOfABatteryThatCannotBeHeld) {
  const PrivateBus daemon;
  setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1);
  const FakeAgent agent;
  const std::string battery = "class/power_supply/BAT0/";
  const auto complaints = [](int percent) {
    return whatIsSaidBy([=] { return sendBatteryLimit({.help = false, .percent = percent}); }).complaints;
  };
  EXPECT_THAT(complaints(80), HasSubstr("no battery"));
  EXPECT_THAT(complaints(100), IsEmpty());
  computer.folder.write(battery + "type", "Battery\n");
  EXPECT_THAT(complaints(80), HasSubstr("core helper off"));
  computer.folder.write("quorlin-sensors/settings.conf", "[Settings]\ncoreAutostart=1\n");
  EXPECT_THAT(complaints(80), HasSubstr("no way to stop charging"));
  computer.folder.write(battery + "charge_behaviour", "[auto] inhibit-charge\n");
  EXPECT_THAT(complaints(80), HasSubstr("core helper: not installed"));
  for (const char* const made : {"class", "quorlin-sensors"}) {
    std::filesystem::remove_all(computer.folder.path() / made);
  }
  unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

TEST(AgentCommands, RefuseWorkflowsThatCannotRun) {
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
    EXPECT_THAT(obstacleTo(file), HasSubstr(obstacle)) << file;
    EXPECT_EQ(obstacleTo(file).empty(), obstacle.empty()) << file;
  }
}

}  // namespace
}  // namespace quorlin
