/// The check of the agent's start at login.
#include "core/Notifications.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/values/Parsing.h"
#include "programs/quorlinctl/doctor/Checks.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr const char* kManager = "org.freedesktop.systemd1.Manager";

/// Asks the service manager of the user about a unit; empty where there is none.
std::string askAboutUnit(const Bus& sessionBus, const char* member, const char* unit) {
  const BusMessage question = methodCall(
      sessionBus.get(), {"org.freedesktop.systemd1", "/org/freedesktop/systemd1", kManager}, member);
  checked(sd_bus_message_append(question.get(), "s", unit), "Cannot ask the service manager");
  checked(sd_bus_message_set_auto_start(question.get(), 0), "Cannot ask the service manager");
  const auto answer = call(sessionBus.get(), question, std::chrono::seconds(5));
  const char* text = nullptr;
  if (!answer) return {};
  // A path in one case, a word in the other.
  const char type = std::string_view(member) == "GetUnit" ? 'o' : 's';
  return sd_bus_message_read_basic(answer->get(), type, &text) > 0 ? text : "";
}

bool isActive(const Bus& sessionBus, const char* unit) {
  const std::string path = askAboutUnit(sessionBus, "GetUnit", unit);
  if (path.empty()) return false;
  char* state = nullptr;
  if (sd_bus_get_property_string(sessionBus.get(), "org.freedesktop.systemd1", path.c_str(),
                                 "org.freedesktop.systemd1.Unit", "ActiveState", nullptr, &state) < 0)
    return false;
  const Owned<char, std::free> owner(state);
  return std::string_view(state) == "active";
}

/// Desktops that start autostart entries by themselves, as XDG_CURRENT_DESKTOP names them.
bool startsEntriesItself(std::string_view desktop) {
  constexpr std::array desktops = {"GNOME",    "KDE",        "XFCE",   "LXQt",     "LXDE",   "MATE",
                                   "Cinnamon", "X-Cinnamon", "Budgie", "Pantheon", "Deepin", "Unity"};
  return std::ranges::find(desktops, desktop) != desktops.end();
}

}  // namespace

LoginStarter loginStarterOf(const Bus& sessionBus) {
  if (askAboutUnit(sessionBus, "GetUnitFileState", kLauncherUnit) == "enabled")
    return {.starter = std::string("systemd, by ") + kLauncherUnit, .isUnit = true};
  const char* const variable = std::getenv("XDG_CURRENT_DESKTOP");
  const std::string desktop = variable == nullptr ? "" : variable;
  for (std::string_view rest = desktop; !rest.empty();) {
    const std::string_view name = takeUntil(':', rest);
    if (startsEntriesItself(name)) return {.starter = std::string(name)};
  }
  if (isActive(sessionBus, "xdg-desktop-autostart.target")) return {.starter = "systemd"};
  return {.desktop = desktop};
}

Finding autostartFinding(const std::optional<Trouble>& entryTrouble, const LoginStarter& session,
                         bool isWanted) {
  const CheckState missing = isWanted ? CheckState::Missing : CheckState::Note;
  const std::string entry = autostartEntry(kLauncherIdentifier).native();
  if (session.isUnit)
    return {CheckState::Ok, fmt::format("At login the agent is started by {}.", session.starter)};
  if (entryTrouble) {
    return {missing, fmt::format("The agent does not start at login: {}.", entryTrouble->text()),
            isWanted ? "'quorlinctl enable' mends that." : "'quorlinctl enable' changes that."};
  }
  if (!session.starter.empty())
    return {CheckState::Ok,
            fmt::format("At login the agent is started by {}, for {}.", session.starter, entry)};
  const std::string advice =
      fmt::format("Where no desktop starts such entries, 'systemctl --user enable {}' has systemd start it.",
                  kLauncherUnit);
  if (session.desktop.empty()) {
    return {
        CheckState::Note,
        fmt::format("This session has no desktop, so it is unknown who starts the agent at login, for {}.",
                    entry),
        advice};
  }
  return {missing,
          fmt::format("The session {} is not known to start the entries of the autostart folder, such as {}.",
                      session.desktop, entry),
          advice};
}

Finding checkAutostart(const Bus& sessionBus, bool isWanted) {
  return autostartFinding(whyNotStarted(autostartEntry(kLauncherIdentifier)), loginStarterOf(sessionBus),
                          isWanted);
}

}  // namespace quorlin
