#include "programs/quorlinctl/doctor/Doctor.h"

#include "core/Settings.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "programs/quorlinctl/hold/HoldFacts.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/terminal/Terminal.h"
#include "programs/quorlinctl/view/Json.h"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr std::string_view kProgramFolders = "/usr/bin:/bin";

/// The word for a state, and how it looks.
std::pair<std::string_view, Tone> shown(CheckState state) {
  switch (state) {
    case CheckState::Ok:
      return {"ok", Tone::Calm};
    case CheckState::Missing:
      return {"missing", Tone::Hot};
    case CheckState::Note:
      break;
  }
  return {"note", Tone::Faint};
}

/// What the checks look at.
struct Surroundings {
  SystemRoots roots;
  std::filesystem::path settings;
  Result<Bus> sessionBus;
  Result<Bus> systemBus;
};

Result<Bus> opened(Bus (*open)()) {
  try {
    return open();
  } catch (const BusError& error) {
    return Trouble{.what = error.what()};
  }
}

Finding reachability(const Result<Bus>& bus, const char* good, const char* advice) {
  if (bus) return {CheckState::Ok, good};
  return {CheckState::Missing, fmt::format("{}.", bus.error().text()), advice};
}

bool isAnythingSwitchedOn(const std::filesystem::path& settings) {
  return isSwitchedOn(settings, setting::kAutostart) || isSwitchedOn(settings, setting::kCoreAutostart);
}

/// Asks on a bus; nothing without the bus, which a check of its own reports.
template <auto bus, Finding (*check)(const Bus&)>
std::optional<Finding> askOn(const Surroundings& here) {
  if (!(here.*bus)) return std::nullopt;
  try {
    return check(*(here.*bus));
  } catch (const BusError& error) {
    return Finding{CheckState::Missing, fmt::format("{}.", error.what()),
                   "Check whether the bus still answers."};
  }
}

/// Looks at the machine, the settings or programs.
template <auto check>
std::optional<Finding> look(const Surroundings& here) {
  if constexpr (std::is_invocable_v<decltype(check), const SystemRoots&>) {
    return check(here.roots);
  } else if constexpr (std::is_invocable_v<decltype(check), const std::filesystem::path&>) {
    return check(here.settings);
  } else {
    return check();
  }
}

/// Who needs it.
enum class Purpose { Sensors, CoreHelper, HelperInstallation };

struct Check {
  std::string_view id;
  std::string_view subject;
  Purpose purpose;
  /// Returns nothing where there is nothing to check.
  std::optional<Finding> (*run)(const Surroundings&);
  bool isStatus = false;
};

constexpr std::string_view kCoreHelperId = "core-helper";

constexpr std::array kChecks = {
    Check{"session-bus", "session bus", Purpose::Sensors,
          [](const Surroundings& here) -> std::optional<Finding> {
            return reachability(here.sessionBus, "The session bus is reachable.",
                                "Run this inside a user session, or set DBUS_SESSION_BUS_ADDRESS.");
          }},
    Check{"agent", "agent", Purpose::Sensors, askOn<&Surroundings::sessionBus, checkAgent>, true},
    Check{"settings", "sensors plug-in", Purpose::Sensors, look<checkSettings>, true},
    Check{"autostart", "start at login", Purpose::Sensors,
          [](const Surroundings& here) -> std::optional<Finding> {
            if (!here.sessionBus) return std::nullopt;
            return checkAutostart(*here.sessionBus, isAnythingSwitchedOn(here.settings));
          },
          true},
    Check{"processor", "processor", Purpose::Sensors, look<checkProcessor>},
    Check{"machine", "machine", Purpose::Sensors, look<checkMachine>},
    Check{"sensors", "sensors", Purpose::Sensors, look<checkSensors>},
    Check{"processor-temperature", "processor temperature", Purpose::Sensors, look<checkProcessorDriver>},
    Check{"disk-temperature", "disk temperature", Purpose::Sensors, look<checkDriveDriver>},
    Check{"disk-activity", "disk activity", Purpose::Sensors, look<checkDiskCounters>},
    Check{"application-names", "application names", Purpose::Sensors, look<checkApplicationNames>},
    Check{"system-controller", "system controller", Purpose::Sensors, look<checkSmc>},
    Check{"ps", "program ps", Purpose::Sensors,
          [](const Surroundings&) -> std::optional<Finding> {
            return checkProgram("ps", "procps", kProgramFolders);
          }},
    Check{"nettop", "network applications", Purpose::Sensors, look<checkNetTop>},
    Check{"core-helper-setting", "core helper setting", Purpose::CoreHelper, look<checkCoreSetting>, true},
    Check{"system-bus", "system bus", Purpose::CoreHelper,
          [](const Surroundings& here) -> std::optional<Finding> {
            return reachability(
                here.systemBus, "The system bus is reachable.",
                "The core helper needs it; if it is not installed, run 'sudo apt install dbus'.");
          }},
    Check{kCoreHelperId, "core helper", Purpose::CoreHelper, askOn<&Surroundings::systemBus, checkHelper>,
          true},
    Check{"polkit", "polkit", Purpose::CoreHelper, askOn<&Surroundings::systemBus, checkPolkit>},
    Check{"pkexec", "program pkexec", Purpose::HelperInstallation,
          [](const Surroundings&) -> std::optional<Finding> {
            return checkProgram("pkexec", "pkexec", kProgramFolders);
          }},
    Check{"energy-counters", "processor power", Purpose::CoreHelper, look<checkEnergyCounters>},
    Check{"battery", "battery", Purpose::CoreHelper, look<checkBattery>},
    Check{"charge-hold", "charge hold", Purpose::CoreHelper, look<checkChargeControl>},
    Check{"charge-limit", "charge limit", Purpose::CoreHelper,
          [](const Surroundings&) -> std::optional<Finding> {
            const HoldVerdict verdict = verdictOf(gatherHoldFacts());
            if (verdict.state == HoldState::NoBattery) return std::nullopt;
            const bool isGood = verdict.state != HoldState::NotHeld;
            return Finding{isGood ? CheckState::Ok : CheckState::Note, verdict.text, verdict.advice};
          },
          true},
};

std::vector<CheckResult> runChecks(Examination examination) {
  const Surroundings surroundings{.roots = systemRootsFromEnvironment(),
                                  .settings = settingsFile(),
                                  .sessionBus = opened(Bus::openSession),
                                  .systemBus = opened(Bus::openSystem)};
  const bool wantsHelper = isSwitchedOn(surroundings.settings, setting::kCoreAutostart);
  bool hasHelper = false;
  std::vector<CheckResult> results;
  for (const Check& check : kChecks) {
    if (examination == Examination::Status && !check.isStatus) continue;
    std::optional<Finding> finding = check.run(surroundings);
    if (!finding) continue;
    const bool isNeeded = check.purpose == Purpose::Sensors ||
                          (wantsHelper && !(check.purpose == Purpose::HelperInstallation && hasHelper));
    if (check.id == kCoreHelperId) hasHelper = finding->state == CheckState::Ok;
    results.push_back(
        {check.id, check.subject, isNeeded ? *std::move(finding) : asNote(*std::move(finding))});
  }
  return results;
}

}  // namespace

std::string lineOf(const CheckResult& check, Appearance appearance) {
  constexpr int subjectStart = 9;
  constexpr int findingStart = 32;
  const auto [state, tone] = shown(check.finding.state);
  StyledLine line(ViewSize::kUnlimited, appearance);
  line.text(state, tone).padTo(subjectStart);
  line.text(check.subject, Tone::Heading).padTo(findingStart);
  line.text(check.finding.line());
  return line.bytes();
}

std::string jsonLineOf(const std::vector<CheckResult>& checks) {
  nlohmann::ordered_json json;
  json["complete"] = isComplete(checks);
  json["checks"] = nlohmann::ordered_json::array();
  for (const auto& [id, subject, finding] : checks) {
    nlohmann::ordered_json entry;
    entry["id"] = id;
    entry["state"] = shown(finding.state).first;
    entry["subject"] = subject;
    entry["finding"] = finding.text;
    entry["advice"] = finding.advice.empty() ? nullptr : nlohmann::ordered_json(finding.advice);
    json["checks"].push_back(std::move(entry));
  }
  return textOf(json);
}

Finding asNote(Finding finding) {
  if (finding.state == CheckState::Missing) finding.state = CheckState::Note;
  return finding;
}

bool isComplete(const std::vector<CheckResult>& checks) {
  return std::ranges::none_of(
      checks, [](const CheckResult& check) { return check.finding.state == CheckState::Missing; });
}

int examine(Examination examination, bool asJson) {
  const std::vector<CheckResult> checks = runChecks(examination);
  std::string text;
  if (asJson) {
    text = jsonLineOf(checks) + "\n";
  } else {
    const Appearance appearance = reportAppearance();
    for (const CheckResult& check : checks) text += lineOf(check, appearance) + "\n";
  }
  return printDrawn(text) == kExitOk && isComplete(checks) ? kExitOk : kExitFailed;
}

}  // namespace quorlin
