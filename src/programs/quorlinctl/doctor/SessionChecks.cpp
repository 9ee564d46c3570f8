/// The checks of the user's session and its programs.
#include "core/Notifications.h"
#include "core/Settings.h"
#include "platform/linux/desktop/KeyFile.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/doctor/Machine.h"
#include "programs/quorlinctl/doctor/QuietLog.h"

#include <fmt/format.h>

namespace quorlin {
namespace {

/// cgroups(7): the unified hierarchy's line begins with "0::".
std::string unifiedControlGroup(const std::string& groups) {
  const std::string text = "\n" + groups;
  const std::size_t start = text.find("\n0::");
  if (start == std::string::npos) return {};
  return text.substr(start + 4, text.find('\n', start + 4) - start - 4);
}

}  // namespace

Finding checkAgent(const Bus& sessionBus) {
  const std::optional<pid_t> agent = findAgent(sessionBus);
  const bool wantsPlugin = isSwitchedOn(settingsFile(), setting::kAutostart);
  const bool wantsCore = isSwitchedOn(settingsFile(), setting::kCoreAutostart);
  if (!agent) {
    if (!wantsPlugin && !wantsCore)
      return {CheckState::Note, "The agent does not run, since everything is switched off."};
    return {CheckState::Missing, fmt::format("The agent {} is not on the session bus.", kAgentIdentifier),
            isAgentAvailable(sessionBus)
                ? "The bus starts it for the first program that wants it, such as 'quorlinctl watch'."
                : fmt::format("The bus cannot start it; {} with '{}'.", kInstallAdvice, kInstallCommand)};
  }
  const std::optional<AgentSwitches> switches = switchesOf(sessionBus);
  if (!switches)
    return {CheckState::Note, fmt::format("The agent (process {}) does not answer.", *agent),
            "It may be busy."};
  const auto offInSpiteOf = [&](const char* what, const char* command) {
    return Finding{
        CheckState::Note,
        fmt::format("The agent (process {}) runs with {} off, which the settings switch on.", *agent, what),
        fmt::format("'{}' switches it on.", command)};
  };
  if (wantsPlugin && !switches->plugin) return offInSpiteOf("the sensors plug-in", "quorlinctl enable");
  if (wantsCore && !switches->core) return offInSpiteOf("the core helper", "quorlinctl enable core");
  return {CheckState::Ok, fmt::format("The agent {} is process {}.", kAgentIdentifier, *agent)};
}

bool isSwitchedOn(const std::filesystem::path& settings, std::string_view setting) {
  QuietLog log;  // checkSettings reports trouble with the settings.
  return KeyFileUserDefaults(settings, log).integer(setting) > 0;
}

Finding checkSettings(const std::filesystem::path& settings) {
  if (const Result<KeyFile> file = loadKeyFile(settings); !file) {
    return {CheckState::Missing, fmt::format("The settings are ignored: {}.", file.error().text()),
            file.error().error == kMalformed
                ? "Repair or remove the file; the agent sets it aside when it next saves."
                : "Repair or remove the file; until then the agent saves nothing."};
  }
  if (isSwitchedOn(settings, setting::kAutostart)) {
    return {CheckState::Ok,
            fmt::format("The settings in {} switch the sensors plug-in on.", settings.string())};
  }
  return {CheckState::Missing,
          fmt::format("The settings in {} leave the sensors plug-in off.", settings.string()),
          "Switch it on with 'quorlinctl enable'."};
}

Finding checkApplicationNames(const SystemRoots& roots) {
  const std::string group = unifiedControlGroup(textIn(roots.procfs / "self/cgroup"));
  // systemd.io/DESKTOP_ENVIRONMENTS: applications run below app.slice of the user's own service manager.
  if (group.find("/user@") != std::string::npos && group.find("/app.slice/") != std::string::npos) {
    return {CheckState::Ok, "This session keeps applications in app.slice of systemd's user session."};
  }
  if (group.empty()) {
    return {CheckState::Note,
            "This program has no control group; if applications have none either, the agent sees only those "
            "with a name on the session bus."};
  }
  return {CheckState::Note,
          fmt::format("This program does not run in app.slice of systemd's user session but in {}; if "
                      "applications do not either, the agent sees only those with a name on the session bus.",
                      group)};
}

}  // namespace quorlin
