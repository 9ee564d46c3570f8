#include "programs/core-helper/charge/ChargeControl.h"

#include "platform/linux/power/SystemBatteries.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Sentence.h"
#include "programs/core-helper/charge/HeldCharge.h"

#include <algorithm>
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
    Memory& memory = memories_[battery.name()];
    const Result<std::string> hold = ChargeControl::hold(battery, folder, least, memory);
    memory.text = hold ? *hold : hold.error().text();
    wasDenied_ = wasDenied_ || battery.wasDenied();
    outcome.holding = outcome.holding || hold;
    addLine(outcome.text, displayText(battery.name()) + ": " + memory.text);
  }
  if (outcome.text.empty()) outcome.text = "there is no battery";
  if (const auto trouble = held->store()) addLine(outcome.text, trouble->text());
  return outcome;
}

Result<std::string> ChargeControl::hold(BatteryCharge& battery, const std::filesystem::path& folder,
                                        int least, Memory& memory) {
  const std::string capacity = supplyText(folder, "capacity");
  const std::optional<int> charge = supplyNumber(folder, "capacity");
  if (!memory.refusedAt.empty() && memory.refusedAt == capacity) return Trouble{.what = memory.text};
  memory.refusedAt.clear();
  if (memory.isSettling) battery.settle();
  if (auto others = battery.othersValue()) return *std::move(others);
  if (battery.hasFallenBack()) {
    if (std::exchange(memory.hasFallenBack, true)) {
      return Trouble{.what = "another program lifted the limit; that stays"};
    }
    battery.renew();
  } else if (charge > memory.writtenAt && memory.writtenAt && supplyText(folder, "status") == "Charging") {
    battery.renew();
    memory.writtenAt = charge;
  }
  Result<std::string> hold = battery.hold(least);
  if (!hold && battery.wasAsked()) memory.refusedAt = capacity;
  if (hold && (battery.wasAsked() || !memory.writtenAt)) memory.writtenAt = charge;
  memory.isSettling = memory.isSettling || battery.wasAsked();
  return hold;
}

template <typename Change>
void ChargeControl::changeHeld(const Change& change) {
  Result<HeldCharge> held = HeldCharge::in(stateFile_);
  // One that cannot be read shows at the next request.
  if (!held) return;
  for (const auto& folder : systemBatteries(sysfsRoot_)) {
    BatteryCharge battery(folder, *held);
    if (held->isAbout(battery.name())) change(battery);
  }
  held->store();
}

void ChargeControl::renew() {
  changeHeld([this](BatteryCharge& battery) {
    memories_[battery.name()].hasFallenBack = false;
    battery.renew();
  });
}

void ChargeControl::settle() {
  changeHeld([this](BatteryCharge& battery) {
    if (std::exchange(memories_[battery.name()].isSettling, false)) battery.settle();
  });
}

ChargeOutcome ChargeControl::release() {
  memories_.clear();
  absent_.clear();
  Result<HeldCharge> held = HeldCharge::in(stateFile_);
  if (!held) return releaseUnknown(held.error());
  // Only the program that made a hold releases it.
  if (held->values().empty()) return {false, "no charge is held"};
  ChargeOutcome outcome;
  for (const FormerValue& former : held->values()) absent_.insert(former.battery);
  for (const auto& folder : systemBatteries(sysfsRoot_)) {
    BatteryCharge battery(folder, *held);
    if (absent_.erase(battery.name()) == 0) continue;
    const std::optional<Trouble> trouble = battery.putBack();
    const std::string text = trouble ? trouble->text() : "the charge settings are restored";
    if (trouble) memories_[battery.name()].text = text;
    addLine(outcome.text, battery.name() + ": " + text);
    outcome.holding = outcome.holding || held->isAbout(battery.name());
  }
  // Firmware remembers the thresholds of a battery that is taken out, and nothing else knows the former ones.
  // So its lines stay, but hold nothing.
  for (const std::string& name : absent_) {
    addLine(outcome.text, name + ": the battery is absent; its charge settings are restored when it returns");
  }
  if (const auto trouble = held->store()) addLine(outcome.text, trouble->text());
  return outcome;
}

ChargeOutcome ChargeControl::releaseUnknown(const Trouble& trouble) {
  ChargeOutcome outcome{.holding = false, .text = trouble.text()};
  const std::filesystem::path aside = stateFile_.string() + ".unreadable";
  std::error_code error;
  std::filesystem::remove(aside, error);
  std::filesystem::rename(stateFile_, aside, error);
  if (error) addLine(outcome.text, systemTrouble("{} cannot be set aside", stateFile_, error.value()).text());
  HeldCharge nothing(stateFile_);
  for (const auto& folder : systemBatteries(sysfsRoot_)) {
    BatteryCharge battery(folder, nothing);
    const std::optional<Trouble> refusal = battery.letCharge();
    addLine(outcome.text, displayText(battery.name()) + ": " +
                              (refusal ? refusal->text() : "it may charge fully, as nothing else is known"));
    outcome.holding = outcome.holding || refusal;
  }
  return outcome;
}

bool ChargeControl::hasHeld() const {
  const Result<HeldCharge> held = HeldCharge::in(stateFile_);
  return !held || std::ranges::any_of(systemBatteries(sysfsRoot_), [&held](const auto& battery) {
    return held->isAbout(battery.filename().string());
  });
}

bool ChargeControl::hasReturned() const {
  return !absent_.empty() && std::ranges::any_of(systemBatteries(sysfsRoot_), [this](const auto& battery) {
    return absent_.contains(battery.filename().string());
  });
}

std::vector<BatteryReport> ChargeControl::report() const {
  std::vector<BatteryReport> reports;
  Result<HeldCharge> held = HeldCharge::in(stateFile_);
  for (const auto& folder : systemBatteries(sysfsRoot_)) {
    BatteryReport entry{.battery = folder.filename(),
                        .isHeld = false,
                        .attribute = std::string(chargeOfferOf(folder).attribute()),
                        .text = {}};
    const auto memory = memories_.find(entry.battery);
    if (memory != memories_.end()) entry.text = memory->second.text;
    if (held && held->isAbout(entry.battery)) {
      const BatteryCharge battery(folder, *held);
      const std::optional<Trouble> others = battery.othersValue();
      if (others) entry.text = others->text();
      entry.isHeld = !others && !battery.hasFallenBack();
    }
    reports.push_back(std::move(entry));
  }
  return reports;
}

}  // namespace quorlin
