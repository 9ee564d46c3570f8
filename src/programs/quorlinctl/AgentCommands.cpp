#include "quorlinctl/AgentCommands.h"

#include "commands/PercentEncoding.h"
#include "commands/RequestKey.h"
#include "commands/UrlScheme.h"
#include "core/Settings.h"
#include "platform/Utf8.h"
#include "platform/linux/System.h"
#include "platform/linux/SystemBatteries.h"
#include "platform/linux/SystemRoots.h"
#include "platform/linux/UserDefaults.h"
#include "platform/linux/WorkflowEngine.h"
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
    const std::optional<pid_t> agent =
        openUrl(bus, commandUrl(requestKey(LinuxSystem().localizedHostName()), command, argument));
    const std::string who = agent ? " (process " + std::to_string(*agent) + ")" : "";
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

std::string textOf(const CheckResult& check) {
  return check.subject + ": " + check.finding + (check.advice.empty() ? "" : "; " + check.advice);
}

/// Why the battery's charge would not be held, or an empty text.
std::string obstacleToHolding() {
  const SystemRoots roots = systemRootsFromEnvironment();
  if (systemBatteries(roots.sysfs).empty()) return "this computer has no battery whose charge could be held";
  if (!isSwitchedOn(settingsFile(), setting::kCoreAutostart)) {
    return "the settings leave the core helper off, and nothing else holds the charge";
  }
  const CheckResult control = checkChargeControl(roots);
  if (control.state != CheckState::Ok) return textOf(control);
  try {
    const CheckResult helper = checkHelper(Bus::openSystem());
    if (helper.state != CheckState::Ok) return textOf(helper);
    // Of an agent that does not run, sending says what there is to say.
    const CheckResult agent = checkAgent(Bus::openSession());
    if (agent.state == CheckState::Note) return textOf(agent);
  } catch (const BusError& error) {
    return std::string("the core helper cannot be asked: ") + error.what();
  }
  return {};
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
  const auto command = workflowCommand(workflow);
  if (const auto* reason = std::get_if<std::string>(&command)) return *reason;
  const bool canRun = workflow.extension() == ".desktop" || ::access(workflow.c_str(), X_OK) == 0;
  return canRun ? "" : "it is neither executable nor a .desktop entry";
}

int sendBatteryLimit(const BatteryLimitOptions& options) {
  const std::string obstacle = options.percent < kHighestBatteryLimit ? obstacleToHolding() : "";
  if (!obstacle.empty()) complain("warning: " + obstacle);
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
