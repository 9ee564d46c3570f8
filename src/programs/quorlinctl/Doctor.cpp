#include "quorlinctl/Doctor.h"

#include "core/Settings.h"
#include "platform/linux/UserDefaults.h"
#include "quorlinctl/Json.h"
#include "quorlinctl/Output.h"
#include "quorlinctl/Terminal.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <utility>

#include <unistd.h>

namespace quorlin {
namespace {

constexpr const char* kHelperSubject = "core helper";
constexpr std::string_view kProgramFolders = "/usr/bin:/bin";

std::string_view nameOf(CheckState state) {
  switch (state) {
    case CheckState::Ok:
      return "ok";
    case CheckState::Missing:
      return "missing";
    case CheckState::Note:
      break;
  }
  return "note";
}

Tone toneOf(CheckState state) {
  switch (state) {
    case CheckState::Ok:
      return Tone::Calm;
    case CheckState::Missing:
      return Tone::Hot;
    case CheckState::Note:
      break;
  }
  return Tone::Faint;
}

struct BusCheck {
  const char* subject;
  CheckResult (*check)(const Bus&);
};

/// Whether a bus is reachable, and what can be asked of it.
std::vector<CheckResult> checkBus(const std::string& subject, Bus (*open)(), const std::string& advice,
                                  std::initializer_list<BusCheck> questions) {
  std::optional<Bus> bus;
  try {
    bus.emplace(open());
  } catch (const BusError& error) {
    return {{CheckState::Missing, subject, error.what(), advice}};
  }
  std::vector<CheckResult> checks = {{CheckState::Ok, subject, "reachable", ""}};
  for (const BusCheck& question : questions) {
    try {
      checks.push_back(question.check(*bus));
    } catch (const BusError& error) {
      checks.push_back({CheckState::Missing, question.subject, error.what(),
                        "look whether the " + subject + " still answers"});
    }
  }
  return checks;
}

std::vector<CheckResult> checkPower(const SystemRoots& roots) {
  std::vector<CheckResult> checks = {checkCoreSetting(settingsFile())};
  std::ranges::move(
      checkBus("system bus", Bus::openSystem,
               "the core helper is reached through it: sudo apt install dbus, or look why it does not run",
               {{kHelperSubject, checkHelper}, {"polkit", checkPolkit}}),
      std::back_inserter(checks));
  const bool helperAnswers = std::ranges::any_of(checks, [](const CheckResult& check) {
    return check.subject == kHelperSubject && check.state == CheckState::Ok;
  });
  const CheckResult pkexec = checkProgram("pkexec", "pkexec", kProgramFolders);
  // It is needed to install the helper, and no more.
  checks.push_back(helperAnswers ? asNotes({pkexec}).front() : pkexec);
  for (const auto check : {checkEnergyCounters, checkBattery, checkChargeControl}) {
    checks.push_back(check(roots));
  }
  const bool isOn = isSwitchedOn(settingsFile(), setting::kCoreAutostart);
  return isOn ? checks : asNotes(std::move(checks));
}

std::vector<CheckResult> runChecks() {
  const SystemRoots roots = systemRootsFromEnvironment();
  std::vector<CheckResult> checks =
      checkBus("session bus", Bus::openSession,
               "run this inside a user session, or set DBUS_SESSION_BUS_ADDRESS", {{"agent", checkAgent}});
  checks.push_back(checkSettings(settingsFile()));
  checks.push_back(checkProcessor());
  for (const auto check : {checkMachine, checkSensors, checkProcessorDriver, checkDriveDriver,
                           checkDiskCounters, checkApplicationNames}) {
    checks.push_back(check(roots));
  }
  if (std::optional<CheckResult> smc = checkSmc(roots)) checks.push_back(*std::move(smc));
  checks.push_back(checkProgram("ps", "procps", kProgramFolders));
  checks.push_back(checkNetTop());
  std::ranges::move(checkPower(roots), std::back_inserter(checks));
  return checks;
}

}  // namespace

std::string lineOf(const CheckResult& check, Appearance appearance) {
  constexpr int subjectStart = 9;
  constexpr int findingStart = 32;
  StyledLine line(std::numeric_limits<int>::max(), appearance);
  line.text(nameOf(check.state), toneOf(check.state)).padTo(subjectStart);
  line.text(check.subject, Tone::Heading).padTo(findingStart).text(check.finding);
  if (!check.advice.empty()) line.text(" — ").text(check.advice);
  return line.bytes();
}

std::string jsonLineOf(const std::vector<CheckResult>& checks) {
  nlohmann::ordered_json json;
  json["complete"] = isComplete(checks);
  json["checks"] = nlohmann::ordered_json::array();
  for (const CheckResult& check : checks) {
    nlohmann::ordered_json entry;
    entry["state"] = nameOf(check.state);
    entry["subject"] = check.subject;
    entry["finding"] = check.finding;
    entry["advice"] = check.advice.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(check.advice);
    json["checks"].push_back(std::move(entry));
  }
  return textOf(json);
}

std::vector<CheckResult> asNotes(std::vector<CheckResult> checks) {
  for (CheckResult& check : checks) {
    if (check.state == CheckState::Missing) check.state = CheckState::Note;
  }
  return checks;
}

bool isComplete(const std::vector<CheckResult>& checks) {
  return std::ranges::none_of(checks,
                              [](const CheckResult& check) { return check.state == CheckState::Missing; });
}

int examine(const DoctorOptions& options) {
  const std::vector<CheckResult> checks = runChecks();
  std::string text;
  if (options.json) {
    text = jsonLineOf(checks) + "\n";
  } else {
    const Appearance appearance = reportAppearance();
    for (const CheckResult& check : checks) text += lineOf(check, appearance) + "\n";
  }
  if (const std::error_code error = writeAll(STDOUT_FILENO, text)) {
    complain("standard output: " + error.message());
    return kExitFailed;
  }
  return isComplete(checks) ? kExitOk : kExitFailed;
}

}  // namespace quorlin
