#include "programs/quorlinctl/hold/HoldFacts.h"

#include "core/Notifications.h"
#include "core/Settings.h"
#include "platform/linux/desktop/ApplicationNames.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "platform/linux/power/ChargeOffer.h"
#include "platform/linux/power/PowerSources.h"
#include "platform/linux/power/SystemBatteries.h"
#include "platform/linux/processes/ProcessManager.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/doctor/QuietLog.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include <fmt/format.h>
#include <pwd.h>

namespace quorlin {
namespace {

std::string userName(uid_t user) {
  const passwd* const entry = ::getpwuid(user);
  return entry == nullptr ? fmt::format("user {}", user) : fmt::format("user {}", entry->pw_name);
}

std::vector<HoldFacts::NamedBattery> namedBatteries(const SystemRoots& roots) {
  SysfsPowerSources sources(roots.sysfs);
  const std::vector<Battery> states = readBatteries(sources);
  std::vector<HoldFacts::NamedBattery> batteries;
  for (const std::filesystem::path& folder : systemBatteries(roots.sysfs)) {
    batteries.push_back({.name = displayText(folder.filename().native()),
                         .battery = batteries.size() < states.size() ? states[batteries.size()] : Battery(),
                         .attribute = std::string(chargeOfferOf(folder).attribute())});
  }
  return batteries;
}

bool isConsumer(std::string_view identifier) {
  return std::ranges::count(kMainAppIdentifiers, identifier) > 0 ||
         std::ranges::count(kWidgetIdentifiers, identifier) > 0;
}

void lookAtSession(HoldFacts& facts, const SystemRoots& roots) {
  try {
    const Bus bus = Bus::openSession();
    const Finding agent = checkAgent(bus);
    if (agent.state != CheckState::Ok) {
      facts.agentTrouble = agent.text;
      facts.agentAdvice = agent.advice;
    }
    const ApplicationNames names(bus);
    ProcfsProcessManager(roots.procfs, names.names()).enumerateProcesses([&](const auto& identifier) {
      facts.hasConsumer = facts.hasConsumer || (identifier && isConsumer(*identifier));
    });
    facts.hasConsumer = facts.hasConsumer || std::ranges::any_of(names.names(), isConsumer);
  } catch (const BusError& error) {
    facts.agentTrouble = fmt::format("{}.", error.what());
  }
}

void askHelper(HoldFacts& facts) {
  try {
    const Bus bus = Bus::openSystem();
    const Result<HelperHold, HelperRefusal> hold = askHowHeld(bus);
    if (!hold) {
      const bool isInstalled = hold.error().kind != HelperRefusal::Kind::NotInstalled;
      facts.helperTrouble =
          isInstalled ? fmt::format("The core helper does not answer ({}).", displayText(hold.error().reason))
                      : "The core helper is not installed.";
      facts.helperAdvice =
          isInstalled ? "'quorlinctl doctor' tells more." : "Install it with 'quorlinctl helper install'.";
      return;
    }
    facts.hold = *hold;
    if (hold->holder.empty()) return;
    const std::optional<pid_t> process = processOwning(bus, hold->holder);
    facts.holder =
        process ? fmt::format("process {} of {}", *process, userName(hold->user)) : userName(hold->user);
  } catch (const BusError& error) {
    facts.helperTrouble = fmt::format("{}.", error.what());
  }
}

/// Programs that set thresholds by themselves: by the names of their processes, cut to fifteen characters as
/// the kernel does, and one that leaves a folder instead of a process.
std::string otherWritersHere(const SystemRoots& roots) {
  constexpr std::array<std::pair<std::string_view, const char*>, 4> programs = {
      {{"org_kde_powerde", "the power management of KDE"},
       {"gsd-power", "the power management of GNOME"},
       {"auto-cpufreq", "auto-cpufreq"},
       {"asusd", "asusd"}}};
  std::set<std::string> found;
  for (const std::string& process : namesIn(roots.procfs.string()).value_or({})) {
    if (process.find_first_not_of("0123456789") != std::string::npos) continue;
    const std::string name = readText((roots.procfs / process / "comm").string()).value_or("");
    const auto* const program = std::ranges::find(programs, name, &decltype(programs)::value_type::first);
    if (program != programs.end()) found.insert(program->second);
  }
  std::error_code ignored;
  if (std::filesystem::exists("/run/tlp", ignored)) found.insert("TLP");
  return fmt::format("{}", fmt::join(found, " or "));
}

}  // namespace

HoldFacts gatherHoldFacts() {
  const SystemRoots roots = systemRootsFromEnvironment();
  QuietLog log;
  const KeyFileUserDefaults settings(settingsFile(), log);
  HoldFacts facts;
  const std::int64_t limit = settings.integer(setting::kBatteryLimit);
  if (limit >= 1) facts.limit = limit;
  facts.batteries = namedBatteries(roots);
  facts.isCoreOn = settings.integer(setting::kCoreAutostart) > 0;
  lookAtSession(facts, roots);
  askHelper(facts);
  facts.otherWriters = otherWritersHere(roots);
  return facts;
}

}  // namespace quorlin
