#include "programs/quorlinctl/hold/HoldVerdict.h"

#include <algorithm>
#include <array>
#include <optional>

#include <fmt/format.h>

namespace quorlin {
namespace {

bool isLimited(std::int64_t limit) { return limit >= kLowestHeldLimit && limit <= kHighestHeldLimit; }

std::string sentences(const std::vector<HeldBattery>& batteries, bool areHeld, std::string_view ending) {
  std::vector<std::string> texts;
  for (const HeldBattery& battery : batteries) {
    if (battery.isHeld == areHeld && !battery.text.empty()) {
      texts.push_back(fmt::format("{}: {}{}.", battery.name, battery.text, ending));
    }
  }
  return fmt::format("{}", fmt::join(texts, " "));
}

/// What has to be there before the agent can hold anything.
std::optional<HoldVerdict> whatIsMissing(const HoldFacts& facts) {
  const auto cannot = std::ranges::all_of(
      facts.batteries, [](const HoldFacts::NamedBattery& battery) { return battery.attribute.empty(); });
  if (cannot) {
    return HoldVerdict{HoldState::NotHeld, "The driver of the battery cannot stop charging.",
                       "A newer kernel may help; 'quorlinctl doctor' names the drivers that can."};
  }
  if (!facts.helperTrouble.empty())
    return HoldVerdict{HoldState::NotHeld, facts.helperTrouble, facts.helperAdvice};
  if (!facts.isCoreOn) {
    return HoldVerdict{HoldState::NotHeld, "The settings leave the core helper off.",
                       "Switch it on with 'quorlinctl enable core'."};
  }
  if (!facts.agentTrouble.empty())
    return HoldVerdict{HoldState::NotHeld, facts.agentTrouble, facts.agentAdvice};
  return std::nullopt;
}

}  // namespace

HoldVerdict verdictOf(const HoldFacts& facts) {
  using enum HoldState;
  if (facts.batteries.empty()) return {NoBattery, "This computer has no battery."};
  const bool isHeld = facts.hold.isHeld();
  if (!isLimited(facts.limit)) {
    if (!isHeld) return {NoLimit, "The charge is not limited."};
    return {Pending, fmt::format("No limit is set, but the charge is still held for {}.", facts.holder)};
  }
  const Battery& battery = facts.batteries.front().battery;
  const int charge = battery.percent.value_or(0);
  if (isHeld) {
    const std::string text = sentences(facts.hold.batteries, true, fmt::format(", for {}", facts.holder));
    return {charge < facts.limit ? Pending : Held, text};
  }
  if (auto missing = whatIsMissing(facts)) return *std::move(missing);
  if (const std::string refusals = sentences(facts.hold.batteries, false, ""); !refusals.empty()) {
    const bool areOthers = refusals.find("another program") != std::string::npos;
    if (!areOthers) return {NotHeld, refusals};
    return {
        NotHeld, refusals,
        facts.otherWriters.empty()
            ? "Switch the limit of the desktop's power manager or of another tool off, or remove this one."
            : fmt::format("It may have been {}; two programs cannot limit the charge.", facts.otherWriters)};
  }
  if (!facts.hasConsumer) {
    return {NotHeld, "No program runs for which the agent holds the charge.",
            "'quorlinctl battery-limit --keep' starts one, now and at every login."};
  }
  if (charge < facts.limit) {
    return {WillHold,
            fmt::format("The charge is {} %; it will be held once it reaches {} %.", charge, facts.limit)};
  }
  if (battery.state == kCharging) return {Pending, "The agent has not held the charge yet."};
  return {WillHold,
          fmt::format("The battery is not being charged; its charge will be held at {} % when it is.",
                      facts.limit)};
}

std::string_view wordOf(HoldState state) {
  constexpr std::array words = {"no-battery", "no-limit", "held", "will-hold", "pending", "not-held"};
  return words[static_cast<std::size_t>(state)];
}

}  // namespace quorlin
