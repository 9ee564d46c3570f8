#include "commands/RequestKey.h"
#include "commands/UrlScheme.h"
#include "platform/linux/system/System.h"
#include "platform/values/Tick.h"
#include "programs/quorlinctl/commands/Keep.h"
#include "programs/quorlinctl/commands/RequestArguments.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/hold/HoldFacts.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/view/Json.h"

#include <chrono>
#include <thread>

#include <fmt/format.h>

namespace quorlin {
namespace {

/// The agent asks the helper again after a release with the next power metrics but one.
constexpr auto kPatience = 3 * kPowerPeriod;
constexpr std::chrono::milliseconds kPause{200};

std::string stateOf(const Battery& battery) {
  if (battery.isDischarging) return "discharging, because the charger is too weak";
  if (battery.state == kOnBattery) return "on battery power";
  return battery.state == kCharging ? "charging" : "not charging";
}

std::string reportOf(const HoldFacts& facts, const HoldVerdict& verdict) {
  std::string text =
      facts.limit > kHighestHeldLimit ? "Limit: none\n" : fmt::format("Limit: {} %\n", facts.limit);
  for (const auto& [name, battery, attribute] : facts.batteries) {
    text += fmt::format("{}: {}, {}\n", name,
                        battery.percent ? fmt::format("{} %", *battery.percent) : "charge unknown",
                        stateOf(battery));
  }
  return text + fmt::format("Hold: {}\n", verdict.line());
}

std::string jsonOf(const HoldFacts& facts, const HoldVerdict& verdict) {
  nlohmann::ordered_json json;
  json["limit"] = facts.limit;
  json["state"] = wordOf(verdict.state);
  json["finding"] = verdict.text;
  json["advice"] = verdict.advice.empty() ? nullptr : nlohmann::ordered_json(verdict.advice);
  json["batteries"] = nlohmann::ordered_json::array();
  for (const auto& [name, battery, attribute] : facts.batteries) {
    nlohmann::ordered_json entry = jsonOf(battery);
    entry["name"] = name;
    entry["attribute"] = attribute.empty() ? nullptr : nlohmann::ordered_json(attribute);
    json["batteries"].push_back(std::move(entry));
  }
  return textOf(json) + "\n";
}

/// Sets the limit and returns once it is known what became of it, or the patience is at its end.
HoldFacts setLimit(const std::string& percent) {
  openUrl(Bus::openSession(),
          commandUrl(requestKey(LinuxSystem().localizedHostName()), urlcommand::kBatteryLimit, percent));
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  HoldFacts facts = gatherHoldFacts();
  while ((std::to_string(facts.limit) != percent || verdictOf(facts).state == HoldState::Pending) &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kPause);
    facts = gatherHoldFacts();
  }
  return facts;
}

}  // namespace

Result<int, UsageError> limitBattery(const ParsedArguments& given) {
  const bool keeps = given.has("keep");
  if (keeps && given.has("no-keep")) return UsageError{"--keep and --no-keep exclude each other"};
  std::optional<std::string> percent;
  if (!given.operands.empty()) {
    const Result<std::string, UsageError> read = readChargeLimit(given.operands);
    if (!read) return read.error();
    percent = *read;
  }
  if (keeps || given.has("no-keep")) {
    const Result<std::string> kept = changeKeeping(keeps);
    if (!kept) return static_cast<int>(fail(kept.error().text()));
    if (!given.has("json")) print(*kept + "\n");
    if (!percent && !given.has("json")) return static_cast<int>(kExitOk);
  }
  const HoldFacts facts = percent ? setLimit(*percent) : gatherHoldFacts();
  if (percent && std::to_string(facts.limit) != *percent) {
    return fail("the agent has taken the limit but not stored it; it may be busy");
  }
  const HoldVerdict verdict = verdictOf(facts);
  const ExitCode printed = print(given.has("json") ? jsonOf(facts, verdict) : reportOf(facts, verdict));
  if (printed != kExitOk) return static_cast<int>(printed);
  const bool isNotHeld = verdict.state == HoldState::NotHeld || verdict.state == HoldState::Pending ||
                         (percent && verdict.state == HoldState::NoBattery);
  return static_cast<int>(isNotHeld ? kExitNotHeld : kExitOk);
}

}  // namespace quorlin
