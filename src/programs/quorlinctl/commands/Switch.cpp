#include "core/Notifications.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/services/Helper.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <array>

#include <fmt/format.h>

namespace quorlin {
namespace {

void post(const Bus& bus, std::string_view name) {
  BusNotificationCenter(bus).post(name, std::nullopt, {}, Delivery::Default);
}

/// Whether this session starts the agent at login; complains if not.
ExitCode reportAutostart(const Bus& bus) {
  const Finding autostart = checkAutostart(bus, true);
  if (autostart.state == CheckState::Ok) return print(autostart.text + "\n");
  complain(autostart.line());
  return kExitOk;
}

/// What the window does when a person turns the plug-in's switch.
ExitCode switchPlugin(const Bus& bus, bool enable) {
  const AgentSettings agent(bus);
  const SwitchOutcome stored = agent.setAutostart(enable);
  agent.setPluginEnabled(enable);
  using namespace notification;
  constexpr std::array active = {kSensorsActive, kSensorsActiveM, kSensorsActiveW};
  constexpr std::array inactive = {kSensorsInactive, kSensorsInactiveM, kSensorsInactiveW};
  for (const std::string_view name : enable ? active : inactive) post(bus, name);
  if (!stored.success) {
    return fail(fmt::format("the sensors plug-in is {} only until the agent ends: {}", enable ? "on" : "off",
                            stored.reason));
  }
  print(fmt::format("The sensors plug-in is {}.\n", enable ? "on" : "off"));
  if (enable) return reportAutostart(bus);
  const std::optional<AgentSwitches> left = switchesOf(bus);
  if (left && left->core) return print("The agent still runs and starts at login, for the core helper.\n");
  if (loginStarterOf(bus).isUnit)
    return print(
        fmt::format("At login systemd still starts the agent, which ends at once; to end that: "
                    "systemctl --user disable {}\n",
                    kLauncherUnit));
  return print("The agent no longer starts at login.\n");
}

/// What the window does when a person turns the core helper's switch.
ExitCode switchCore(const Bus& bus, bool enable) {
  const AgentSettings agent(bus);
  if (enable && !isHelperInstalled()) {
    print("The core helper is not installed yet. Installing it asks for an administrator's password.\n");
  }
  const std::vector<SwitchOutcome> outcomes = agent.setCoreAutostart(enable);
  if (outcomes.empty()) return fail("the agent ended before the core helper was switched");
  bool isChecked = enable;
  ExitCode exitCode = kExitOk;
  for (const auto& [success, reason] : outcomes) {
    if (success) {
      post(bus, isChecked ? notification::kCoreActive : notification::kCoreInactive);
      print(fmt::format("The core helper is {}.\n", enable ? "on" : "off"));
    } else {
      isChecked = false;
      const bool isInstalled = outcomes.size() > 1;
      exitCode = fail(fmt::format(
          "{}: {}", isInstalled ? "the agent will not start at login" : "the core helper stays off", reason));
    }
  }
  if (exitCode != kExitOk) return exitCode;
  if (enable) return reportAutostart(bus);
  const std::optional<AgentSwitches> left = switchesOf(bus);
  if (left && !left->plugin && !whyNotStarted(autostartEntry(kLauncherIdentifier)))
    print("Nothing is on now, but the agent still starts at login; to end that: quorlinctl disable\n");
  return kExitOk;
}

Result<int, UsageError> switchFeature(const ParsedArguments& given, bool enable) {
  const std::string feature = given.operands.empty() ? "sensors" : given.operands.front();
  if (feature != "sensors" && feature != "core")
    return UsageError{fmt::format("'{}' is neither 'sensors' nor 'core'", feature)};
  const Bus bus = Bus::openSession();
  return static_cast<int>(feature == "core" ? switchCore(bus, enable) : switchPlugin(bus, enable));
}

}  // namespace

Result<int, UsageError> enableFeature(const ParsedArguments& given) { return switchFeature(given, true); }

Result<int, UsageError> disableFeature(const ParsedArguments& given) { return switchFeature(given, false); }

}  // namespace quorlin
