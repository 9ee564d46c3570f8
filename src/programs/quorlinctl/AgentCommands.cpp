#include "quorlinctl/AgentCommands.h"

#include "commands/PercentEncoding.h"
#include "commands/RequestKey.h"
#include "commands/UrlScheme.h"
#include "platform/Utf8.h"
#include "platform/linux/System.h"
#include "platform/linux/SystemBatteries.h"
#include "platform/linux/SystemRoots.h"
#include "platform/linux/UserDefaults.h"
#include "platform/posix/TextFile.h"
#include "quorlinctl/Agent.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Output.h"

#include <cerrno>
#include <csignal>

#include <unistd.h>

namespace quorlin {
namespace {

/// What was sent begins the sentence that says so.
int send(std::string_view command, std::string_view argument, const std::string& what) {
  try {
    const Bus bus = Bus::openSession();
    const RunningAgent agent =
        openUrl(bus, commandUrl(requestKey(LinuxSystem().localizedHostName()), command, argument));
    const std::string who = agent.process > 0 ? " (process " + std::to_string(agent.process) + ")" : "";
    return writeAll(STDOUT_FILENO, what + " was sent to the agent" + who + ".\n") ? kExitFailed : kExitOk;
  } catch (const BusError& error) {
    complain(error.what());
    return kExitFailed;
  }
}

void warnOfNoProcess(std::int32_t process) {
  if (::kill(process, 0) != 0 && errno == ESRCH) {
    complain("warning: there is no process " + std::to_string(process));
  }
}

}  // namespace

std::string commandUrl(const std::optional<std::string>& key, std::string_view command,
                       std::string_view argument) {
  std::string url(kUrlScheme);
  // A computer without a name has no key, and the agent asks for none there.
  url.append("://").append(key.value_or("")).append("/").append(command).append("/");
  return url + percentEncoded(argument);
}

std::string obstacleTo(const std::filesystem::path& workflow) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(workflow, error);
  if (!std::filesystem::exists(status)) {
    return error == std::errc() ? std::generic_category().message(ENOENT) : error.message();
  }
  if (!std::filesystem::is_regular_file(status)) return "it is not a file";
  if (workflow.extension() == ".desktop") {
    return ::access(workflow.c_str(), R_OK) == 0 ? "" : std::generic_category().message(errno);
  }
  if (::access(workflow.c_str(), X_OK) != 0) return "it is neither executable nor a .desktop entry";
  return {};
}

int sendBatteryLimit(const BatteryLimitOptions& options) {
  if (options.percent < kHighestBatteryLimit) {
    if (systemBatteries(systemRootsFromEnvironment().sysfs).empty()) {
      complain("warning: this computer has no battery whose charge could be held");
    } else if (!coreIsSwitchedOn(settingsFile())) {
      complain("warning: the settings leave the core helper off, and nothing else holds the charge");
    }
  }
  const std::string percent = std::to_string(options.percent);
  return send(urlcommand::kBatteryLimit, percent, "The charge limit of " + percent + " %");
}

int sendTerminate(const ProcessOptions& options) {
  warnOfNoProcess(options.process);
  const std::string process = std::to_string(options.process);
  return send(urlcommand::kTerminateApp, process, "The wish to quit application " + process);
}

int sendForceTerminate(const ProcessOptions& options) {
  warnOfNoProcess(options.process);
  const std::string process = std::to_string(options.process);
  return send(urlcommand::kForceTerminateApp, process, "The order to end application " + process);
}

int sendTerminalCommand(const TerminalOptions& options) {
  return send(urlcommand::kTerminalCommand, options.command, "The command");
}

int sendWorkflow(const WorkflowOptions& options) {
  std::error_code error;
  // The agent has a working folder of its own.
  const std::filesystem::path path = std::filesystem::absolute(options.file, error);
  const std::string obstacle = error ? error.message() : obstacleTo(path);
  if (!obstacle.empty()) {
    complain(options.file + ": " + obstacle);
    return kExitFailed;
  }
  if (!isUtf8(path.native())) {
    complain(path.native() + ": the path is not UTF-8, so no URL can carry it");
    return kExitFailed;
  }
  return send(urlcommand::kRunWorkflow, path.native(), "The workflow " + displayText(path.native()));
}

}  // namespace quorlin
