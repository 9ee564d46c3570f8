#include "programs/quorlinctl/commands/RequestArguments.h"

#include "commands/UrlScheme.h"
#include "core/Settings.h"
#include "helper/ChargePolicy.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "platform/linux/desktop/WorkflowEngine.h"
#include "platform/linux/power/SystemBatteries.h"
#include "platform/linux/system/SystemRoots.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"
#include "programs/quorlinctl/doctor/Checks.h"

#include <cerrno>
#include <csignal>

#include <fmt/format.h>
#include <unistd.h>

namespace quorlin {

Result<std::string, UsageError> readChargeLimit(const std::vector<std::string>& operands) {
  if (operands.empty()) return UsageError{"Missing argument PERCENT"};
  std::string_view text = operands.front();
  if (text.ends_with('%')) text.remove_suffix(1);
  const auto percent = wholeNumber<int>(text);
  if (percent && *percent >= kLowestBatteryLimit && *percent <= kHighestBatteryLimit) {
    return std::to_string(*percent);
  }
  return UsageError{fmt::format("'{}' is not a limit of {} to {} percent", operands.front(),
                                kLowestBatteryLimit, kHighestBatteryLimit)};
}

Result<std::string, UsageError> readProcess(const std::vector<std::string>& operands) {
  const auto process = wholeNumber<pid_t>(operands.front());
  if (process && *process > 0) return std::to_string(*process);
  return UsageError{fmt::format("'{}' is not a process id", operands.front())};
}

Result<std::string, UsageError> readCommand(const std::vector<std::string>& operands) {
  const std::string command = fmt::format("{}", fmt::join(operands, " "));
  if (command.empty()) return UsageError{"The command is missing"};
  if (!isUtf8(command)) return UsageError{"The command is not UTF-8"};
  return command;
}

Result<std::string, UsageError> readFile(const std::vector<std::string>& operands) {
  const std::string& file = operands.front();
  if (file.empty() || !isUtf8(file)) {
    return UsageError{fmt::format("'{}' is not a file name in UTF-8", file)};
  }
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(file, error);
  return error ? file : path.native();
}

std::optional<Objection> checkChargeLimit(const std::string& percent) {
  if (percent == std::to_string(kHighestBatteryLimit)) return std::nullopt;
  const SystemRoots roots = systemRootsFromEnvironment();
  if (systemBatteries(roots.sysfs).empty())
    return Objection{"this computer has no battery to hold at a limit"};
  if (!isSwitchedOn(settingsFile(), setting::kCoreAutostart)) {
    return Objection{"the charge will not be held, because the settings leave the core helper off"};
  }
  try {
    const Finding control = checkChargeControl(roots);
    if (control.state != CheckState::Ok) return Objection{control.line()};
    const Finding helper = checkHelper(Bus::openSystem());
    if (helper.state != CheckState::Ok) return Objection{helper.line()};
    // If the agent does not run, sending fails with a reason of its own.
    const Finding agent = checkAgent(Bus::openSession());
    if (agent.state == CheckState::Note) return Objection{agent.line()};
  } catch (const BusError& error) {
    return Objection{fmt::format("cannot check whether the charge will be held: {}", error.what())};
  }
  return std::nullopt;
}

std::optional<Objection> checkProcessExists(const std::string& process) {
  if (::kill(wholeNumber<pid_t>(process).value_or(0), 0) == 0 || errno != ESRCH) return std::nullopt;
  return Objection{fmt::format("there is no process {}", process)};
}

std::optional<Objection> checkWorkflow(const std::string& path) {
  const auto refusal = [&](std::string_view reason) {
    return Objection{.reason = fmt::format("{}: {}", path, reason), .isRefusal = true};
  };
  if (!isUtf8(path)) return refusal("the path is not UTF-8, so a URL cannot hold it");
  if (const auto command = workflowCommand(path); !command) return refusal(command.error().why);
  if (path.ends_with(".desktop") || ::access(path.c_str(), X_OK) == 0) return std::nullopt;
  return refusal("it is neither executable nor a .desktop entry");
}

}  // namespace quorlin
