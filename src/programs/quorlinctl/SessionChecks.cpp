/// The checks of the user's session and its programs.
#include "core/Notifications.h"
#include "core/Settings.h"
#include "platform/linux/UserDefaults.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Machine.h"
#include "quorlinctl/QuietLog.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// cgroups(7): the unified hierarchy's line begins with "0::".
std::string unifiedControlGroup(const std::string& groups) {
  const std::string text = "\n" + groups;
  const std::size_t start = text.find("\n0::");
  if (start == std::string::npos) return {};
  return text.substr(start + 4, text.find('\n', start + 4) - start - 4);
}

/// Keeps what would be logged first.
class FirstLine final : public Log {
 public:
  void line(std::string_view given) override {
    if (text.empty()) text = given;
  }
  std::string text;
};

}  // namespace

bool beganBefore(pid_t process, const std::filesystem::path& file, const SystemRoots& roots) {
  const std::string text = textIn(roots.procfs / std::to_string(process) / "stat");
  // proc(5): the 22nd field tells the start, in ticks since the system's; the name before the third may hold
  // any character.
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
  // A package keeps the time of modification that its file was made with.
  return now.tv_sec - sinceSystemStart.tv_sec + ticks / ::sysconf(_SC_CLK_TCK) < status.st_ctim.tv_sec;
}

CheckResult checkAgent(const Bus& sessionBus) {
  const std::string name(kAgentIdentifier);
  const std::optional<pid_t> agent = findAgent(sessionBus);
  if (!agent) {
    return {CheckState::Missing, "agent", "nobody owns " + name + " on the session bus",
            "start it: quorlin-sensors"};
  }
  const std::string finding = name + " is process " + std::to_string(*agent);
  if (isSwitchedOn(settingsFile(), setting::kCoreAutostart) &&
      beganBefore(*agent, kInstalledHelper, systemRootsFromEnvironment())) {
    return {CheckState::Note, "agent", finding + ", which began before the core helper was installed",
            "start it anew: it looks for the helper only when it starts"};
  }
  return {CheckState::Ok, "agent", finding, ""};
}

bool isSwitchedOn(const std::filesystem::path& settings, std::string_view setting) {
  QuietLog log;  // The check of the settings says what is wrong with them.
  return KeyFileUserDefaults(settings, log).integer(setting) > 0;
}

CheckResult checkSettings(const std::filesystem::path& file) {
  FirstLine trouble;
  const KeyFileUserDefaults defaults(file, trouble);
  if (!trouble.text.empty()) {
    return {CheckState::Missing, "settings", trouble.text,
            "mend the file or remove it; the agent sets it aside when it next saves"};
  }
  if (defaults.integer(setting::kAutostart) > 0) {
    return {CheckState::Ok, "settings", file.string() + " switches the sensors plug-in on", ""};
  }
  return {CheckState::Missing, "settings", file.string() + " leaves the sensors plug-in off",
          "write autostart=1 below [Settings] in it and start the agent anew"};
}

CheckResult checkApplicationNames(const SystemRoots& roots) {
  const std::string subject = "application names";
  const std::string group = unifiedControlGroup(textIn(roots.procfs / "self/cgroup"));
  // systemd.io/DESKTOP_ENVIRONMENTS: applications run below app.slice of the user's own service manager.
  if (group.find("/user@") != std::string::npos && group.find("/app.slice/") != std::string::npos) {
    return {CheckState::Ok, subject, "this session keeps applications in app.slice of systemd's user session",
            ""};
  }
  return {CheckState::Note, subject,
          "this program does not run in app.slice of systemd's user session (" +
              (group.empty() ? "no control group" : group) +
              "): where applications do not either, only those that own a name on the session bus are seen",
          ""};
}

}  // namespace quorlin
