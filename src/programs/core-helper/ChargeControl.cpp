#include "core-helper/ChargeControl.h"

#include "core-helper/BatteryCharge.h"
#include "core-helper/HeldCharge.h"
#include "platform/linux/SystemBatteries.h"
#include "platform/posix/TextFile.h"

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
  HeldCharge held(stateFile_);
  if (!held.unreadable().empty()) return {false, held.unreadable() + "; nothing is changed"};
  ChargeOutcome outcome;
  const auto batteries = systemBatteries(sysfsRoot_);
  // Whoever asks has looked at the first battery. Another that is emptier would stay so for as long as that
  // one is full.
  const int least = batteries.empty() ? 0 : supplyNumber(batteries.front(), "capacity").value_or(0);
  for (const auto& folder : batteries) {
    BatteryCharge battery(folder, held);
    const std::string capacity = supplyText(folder, "capacity");
    const auto refusal = refusals_.find(battery.name());
    BatteryCharge::Result result;
    if (refusal != refusals_.end() && refusal->second.capacity == capacity) {
      result.text = refusal->second.text;
    } else {
      result = battery.hold(least);
      refusals_.erase(battery.name());
      if (!result.isDone && battery.wasAsked()) refusals_[battery.name()] = {capacity, result.text};
    }
    outcome.holding = outcome.holding || result.isDone;
    addLine(outcome.text, displayText(battery.name()) + ": " + result.text);
  }
  if (outcome.text.empty()) outcome.text = "there is no battery to hold";
  if (const std::string trouble = held.store(); !trouble.empty()) addLine(outcome.text, trouble);
  return outcome;
}

ChargeOutcome ChargeControl::release() {
  refusals_.clear();
  HeldCharge held(stateFile_);
  if (!held.unreadable().empty()) return {true, held.unreadable()};
  // What somebody else holds is theirs to release.
  if (held.values().empty()) return {false, "nothing is held"};
  ChargeOutcome outcome;
  std::set<std::string> gone;
  for (const FormerValue& former : held.values()) gone.insert(former.battery);
  for (const auto& folder : systemBatteries(sysfsRoot_)) {
    BatteryCharge battery(folder, held);
    if (gone.erase(battery.name()) == 0) continue;
    const BatteryCharge::Result result = battery.putBack();
    outcome.holding = outcome.holding || !result.isDone;
    addLine(outcome.text, battery.name() + ": " + result.text);
  }
  // Firmware remembers thresholds for a battery that is taken out, and nobody else would know what they were.
  // So its lines stay, but hold nothing.
  for (const std::string& name : gone) {
    addLine(outcome.text, name + ": the battery is not there; its charging is put back once it is");
  }
  if (const std::string trouble = held.store(); !trouble.empty()) addLine(outcome.text, trouble);
  return outcome;
}

bool ChargeControl::hasHeld() const {
  const HeldCharge held(stateFile_);
  return std::ranges::any_of(systemBatteries(sysfsRoot_), [&held](const auto& battery) {
    return held.isAbout(battery.filename().string());
  });
}

}  // namespace quorlin
