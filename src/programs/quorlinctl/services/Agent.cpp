#include "programs/quorlinctl/services/Agent.h"

#include "core/Notifications.h"
#include "core/Settings.h"
#include "platform/linux/bus/SettingsProtocol.h"
#include "platform/linux/bus/SilentStart.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/doctor/Checks.h"

#include <chrono>

#include <fmt/format.h>

namespace quorlin {
namespace {

std::string notStartable() {
  return fmt::format("the agent is not running, and the session bus cannot start it; {}: {}", kInstallAdvice,
                     kInstallCommand);
}

/// The bus may have to start the agent, and a workflow may keep it busy.
constexpr std::chrono::seconds kPatience(60);
/// A person may have to find a password first.
constexpr std::chrono::minutes kPatienceWithPeople(10);
constexpr std::chrono::seconds kPatienceWithProperty(5);

constexpr BusObject kSettings = {kAgentIdentifier.data(), settingsprotocol::kPath,
                                 settingsprotocol::kInterface};
constexpr const char* kWriting = "Cannot write a message to the agent";
constexpr const char* kReading = "Cannot read the agent's answer";

std::string reasonOf(const CallError& error) {
  if (error.isOneOf({SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT})) {
    return "the agent did not answer; it may be busy, and may still carry out the request";
  }
  return fmt::format("the agent could not be asked: {}",
                     excerpt(error.message.empty() ? error.name : error.message, 500));
}

/// Sends a call to an agent that stays in the background if the bus starts it for the call.
BusMessage answerOf(const Bus& bus, const BusMessage& question, std::chrono::microseconds patience) {
  if (!isAgentAvailable(bus)) throw BusError(notStartable());
  const LauncherName background(bus, kLauncherIdentifier);
  auto answer = call(bus.get(), question, patience);
  if (!answer) throw BusError(reasonOf(answer.error()));
  return *std::move(answer);
}

std::optional<bool> flagOf(const Bus& bus, const char* property) {
  constexpr BusObject properties = {kSettings.name, kSettings.path, "org.freedesktop.DBus.Properties"};
  const BusMessage question = methodCall(bus.get(), properties, "Get");
  checked(sd_bus_message_append(question.get(), "ss", kSettings.interface, property), kWriting);
  checked(sd_bus_message_set_auto_start(question.get(), 0), kWriting);
  const auto answer = call(bus.get(), question, kPatienceWithProperty);
  int flag = 0;
  if (!answer || sd_bus_message_read(answer->get(), "v", "b", &flag) <= 0) return std::nullopt;
  return flag != 0;
}

bool isSomethingSwitchedOn() {
  const std::filesystem::path settings = settingsFile();
  return isSwitchedOn(settings, setting::kAutostart) || isSwitchedOn(settings, setting::kCoreAutostart);
}

}  // namespace

std::optional<pid_t> findAgent(const Bus& bus) { return processOwning(bus, std::string(kAgentIdentifier)); }

bool isAgentAvailable(const Bus& bus) {
  if (isAvailable(bus, kAgentIdentifier)) return true;
  // It may have been installed into a folder that was not there when the bus looked.
  const BusMessage reload = methodCall(
      bus.get(), {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"}, "ReloadConfig");
  return call(bus.get(), reload, kPatienceWithProperty) && isAvailable(bus, kAgentIdentifier);
}

std::optional<AgentSwitches> switchesOf(const Bus& bus) {
  const std::optional<bool> plugin = flagOf(bus, settingsprotocol::kPluginEnabled);
  const std::optional<bool> core = flagOf(bus, settingsprotocol::kCoreEnabled);
  if (!plugin || !core) return std::nullopt;
  return AgentSwitches{.plugin = *plugin, .core = *core};
}

std::optional<std::string> ensureAgent(const Bus& bus) {
  if (findAgent(bus)) return std::nullopt;
  if (!isSomethingSwitchedOn())
    return "the agent is not running, because everything is switched off; switch the sensors on: quorlinctl "
           "enable";
  if (!isAgentAvailable(bus)) return notStartable();
  if (const auto error = startSilently(bus, kAgentIdentifier, kLauncherIdentifier, kPatience)) {
    return fmt::format("the agent is not running, and the session bus could not start it: {}",
                       excerpt(error->message.empty() ? error->name : error->message, 500));
  }
  return std::nullopt;
}

void openUrl(const Bus& bus, const std::string& url) {
  const BusMessage open =
      methodCall(bus.get(), {kSettings.name, kSettings.path, "org.freedesktop.Application"}, "Open");
  checked(sd_bus_message_append(open.get(), "asa{sv}", 1, url.c_str(), 0), kWriting);
  answerOf(bus, open, kPatience);
}

AgentSettings::AgentSettings(const Bus& bus) : bus_(bus) {
  if (!isAgentAvailable(bus)) throw BusError(notStartable());
}

BusMessage AgentSettings::call(const char* method, bool flag) const {
  const BusMessage question = methodCall(bus_.get(), kSettings, method);
  checked(sd_bus_message_append(question.get(), "b", flag ? 1 : 0), kWriting);
  return answerOf(bus_, question, kPatienceWithPeople);
}

SwitchOutcome AgentSettings::setAutostart(bool enable) const {
  const BusMessage answer = call(settingsprotocol::kSetAutostart, enable);
  int success = 0;
  const char* reason = nullptr;
  checked(sd_bus_message_read(answer.get(), "bs", &success, &reason), kReading);
  return {success != 0, displayText(reason)};
}

void AgentSettings::setPluginEnabled(bool enabled) const {
  call(settingsprotocol::kSetPluginEnabled, enabled);
}

std::vector<SwitchOutcome> AgentSettings::setCoreAutostart(bool enable) const {
  const BusMessage answer = call(settingsprotocol::kSetCoreAutostart, enable);
  std::vector<SwitchOutcome> outcomes;
  checked(sd_bus_message_enter_container(answer.get(), 'a', "(bs)"), kReading);
  int success = 0;
  const char* reason = nullptr;
  while (checked(sd_bus_message_read(answer.get(), "(bs)", &success, &reason), kReading) > 0) {
    outcomes.push_back({success != 0, displayText(reason)});
  }
  return outcomes;
}

}  // namespace quorlin
