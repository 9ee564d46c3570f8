#include "programs/core-helper/charge/ChargeControl.h"

#include "platform/linux/power/SystemBatteries.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Sentence.h"
#include "programs/core-helper/charge/BatteryCharge.h"
#include "programs/core-helper/charge/HeldCharge.h"

#include <algorithm>
#include <set>
#include <utility>

namespace quorlin {
namespace {

void addLine(std::string& text, const std::string& line) {
  if (!text.empty()) text += '\n';
  text += line;
}

}  // namespace

ChargeControl::ChargeControl(std::filesystem::path sysfsRoot, std::filesystem::path stateFile)
    : sysfsRoot_(std::move(sysfsRoot)), stateFile_(std::move(stateFile)) {}

ChargeOutcome ChargeControl::hold() {
  Result<HeldCharge> held = HeldCharge::in(stateFile_);
  if (!held) return {false, filledIn("{}; nothing is changed", {held.error().text()})};
  ChargeOutcome outcome;
  const auto batteries = systemBatteries(sysfsRoot_);
  // The agent decided by the first battery; a lower limit would keep emptier ones from charging.
  const int least = batteries.empty() ? 0 : supplyNumber(batteries.front(), "capacity").value_or(0);
  for (const auto& folder : batteries) {
    BatteryCharge battery(folder, *held);
    const std::string capacity = supplyText(folder, "capacity");
    const auto refusal = refusals_.find(battery.name());
    std::string text;
    if (refusal != refusals_.end() && refusal->second.capacity == capacity) {
      text = refusal->second.text;
    } else {
      const Result<std::string> hold = battery.hold(least);
      text = hold ? *hold : hold.error().text();
      refusals_.erase(battery.name());
      if (!hold && battery.wasAsked()) refusals_[battery.name()] = {capacity, text};
      outcome.holding = outcome.holding || hold;
    }
    addLine(outcome.text, displayText(battery.name()) + ": " + text);
  }
  if (outcome.text.empty()) outcome.text = "there is no battery";
  if (const auto trouble = held->store()) addLine(outcome.text, trouble->text());
  return outcome;
}

ChargeOutcome ChargeControl::release() {
  refusals_.clear();
  Result<HeldCharge> held = HeldCharge::in(stateFile_);
  if (!held) return {true, held.error().text()};
  // Only the program that made a hold releases it.
  if (held->values().empty()) return {false, "no charge is held"};
  ChargeOutcome outcome;
  std::set<std::string> absent;
  for (const FormerValue& former : held->values()) absent.insert(former.battery);
  for (const auto& folder : systemBatteries(sysfsRoot_)) {
    BatteryCharge battery(folder, *held);
    if (absent.erase(battery.name()) == 0) continue;
    const std::optional<Trouble> trouble = battery.putBack();
    addLine(outcome.text,
            battery.name() + ": " + (trouble ? trouble->text() : "the charge settings are restored"));
    outcome.holding = outcome.holding || held->isAbout(battery.name());
  }
  // Firmware remembers the thresholds of a battery that is taken out, and nothing else knows the former ones.
  // So its lines stay, but hold nothing.
  for (const std::string& name : absent) {
    addLine(outcome.text, name + ": the battery is absent; its charge settings are restored when it returns");
  }
  if (const auto trouble = held->store()) addLine(outcome.text, trouble->text());
  return outcome;
}

bool ChargeControl::hasHeld() const {
  const Result<HeldCharge> held = HeldCharge::in(stateFile_);
  return held && std::ranges::any_of(systemBatteries(sysfsRoot_), [&held](const auto& battery) {
           return held->isAbout(battery.filename().string());
         });
}

}  // namespace quorlin
