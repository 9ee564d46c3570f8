/// The checks of the user's session and its programs.
#include "core/Notifications.h"
#include "core/Settings.h"
#include "platform/linux/desktop/KeyFile.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/doctor/Machine.h"
#include "programs/quorlinctl/doctor/QuietLog.h"

#include <cstdint>
#include <ctime>
#include <sstream>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorlin {
namespace {

constexpr const char* kInstalledHelper = "/usr/local/libexec/quorlin-core-helper";

/// cgroups(7): the unified hierarchy's line begins with "0::".
std::string unifiedControlGroup(const std::string& groups) {
  const std::string text = "\n" + groups;
  const std::size_t start = text.find("\n0::");
  if (start == std::string::npos) return {};
  return text.substr(start + 4, text.find('\n', start + 4) - start - 4);
}

}  // namespace

bool beganBefore(pid_t process, const std::filesystem::path& file, const SystemRoots& roots) {
  const std::string text = textIn(roots.procfs / std::to_string(process) / "stat");
  // proc(5): the 22nd field is the start, in clock ticks since the system's start; the name before the third
  // may hold any character.
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string other;
  for (int field = 3; field < 22; ++field) fields >> other;
  std::int64_t ticks = 0;
  struct stat status {};
  if (!(fields >> ticks) || ::stat(file.c_str(), &status) != 0) return false;
  timespec now{};
  timespec sinceSystemStart{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  ::clock_gettime(CLOCK_BOOTTIME, &sinceSystemStart);
  // Installing a package keeps the file's own time of modification.
  return now.tv_sec - sinceSystemStart.tv_sec + ticks / ::sysconf(_SC_CLK_TCK) < status.st_ctim.tv_sec;
}

Finding checkAgent(const Bus& sessionBus) {
  const std::optional<pid_t> agent = findAgent(sessionBus);
  if (!agent) {
    return {CheckState::Missing, fmt::format("The agent {} is not on the session bus.", kAgentIdentifier),
            "Start it with 'quorlin-sensors'."};
  }
  if (isSwitchedOn(settingsFile(), setting::kCoreAutostart) &&
      beganBefore(*agent, kInstalledHelper, systemRootsFromEnvironment())) {
    return {CheckState::Note,
            fmt::format("The agent (process {}) started before the core helper was installed.", *agent),
            "Restart the agent, which looks for the helper only when it starts."};
  }
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
          "Write autostart=1 below [Settings] in the file and restart the agent."};
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
