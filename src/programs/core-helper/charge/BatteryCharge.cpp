#include "programs/core-helper/charge/BatteryCharge.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Sentence.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>

namespace quorlin {
namespace {

/// Some firmware wants that much between the start and the end of charging, in percent.
constexpr int kThresholdGap = 5;

/// Where charging may end: at this charge, else at one of the steps that firmware knows below it.
std::vector<int> endsFor(int charge) {
  std::vector<int> ends = {charge};
  for (const int step : {80, 60, 50}) {
    if (step < charge) ends.push_back(step);
  }
  return ends;
}

/// Some firmware reports 0 when it has no threshold.
bool isEndFor(int charge, std::optional<int> end) { return end && *end >= 1 && *end <= charge; }

bool isBack(const FormerValue& former, const std::optional<std::string>& now) {
  return now == former.value || (former.attribute == kEndThreshold && former.value == "0" && now == "100");
}

/// Whether no other value would fare better.
bool isFinal(int error) {
  constexpr std::array errors = {ENODEV, ENOENT, EROFS, EACCES, EPERM};
  return std::ranges::find(errors, error) != errors.end();
}

}  // namespace

BatteryCharge::BatteryCharge(std::filesystem::path folder, HeldCharge& held)
    : folder_(std::move(folder)), name_(folder_.filename()), held_(held) {}

Result<std::string> BatteryCharge::hold(int least) {
  const bool wasHeld = held_.isAbout(name_);
  Result<std::string> outcome = holdByWhatIsOffered(least);
  // An earlier hold stops charging at least above this charge.
  if (!outcome && !wasHeld) putBack();
  // Read only now: some drivers round a value, or move one threshold with the other.
  for (const std::string_view attribute : kHeldAttributes) {
    const FormerValue* const former = held_.find(name_, attribute);
    const std::optional<std::string> now = value(attribute);
    if (former != nullptr && former->ours.empty() && now) held_.setOurs(name_, attribute, *now);
  }
  return outcome;
}

void BatteryCharge::renew() {
  // The start before the end, which it has to stay below.
  for (const std::string_view attribute :
       {kChargeTypes, kChargeType, kStartThreshold, kEndThreshold, kChargeBehaviour}) {
    const FormerValue* const former = held_.find(name_, attribute);
    if (former != nullptr && !former->ours.empty() && setByOthers(attribute) == nullptr) {
      write(attribute, former->ours);
    }
  }
}

void BatteryCharge::settle() {
  for (const std::string_view attribute : kHeldAttributes) {
    const FormerValue* const former = held_.find(name_, attribute);
    const std::optional<std::string> now = value(attribute);
    if (former != nullptr && now && !isBack(*former, now)) held_.setOurs(name_, attribute, *now);
  }
}

std::optional<Trouble> BatteryCharge::othersValue() const {
  for (const std::string_view attribute : kHeldAttributes) {
    if (setByOthers(attribute) != nullptr) return ofOthers(attribute);
  }
  return std::nullopt;
}

bool BatteryCharge::hasFallenBack() const {
  return std::ranges::any_of(kHeldAttributes, [this](std::string_view attribute) {
    const FormerValue* const former = held_.find(name_, attribute);
    return former != nullptr && !former->ours.empty() && former->ours != former->value &&
           isBack(*former, value(attribute));
  });
}

std::optional<Trouble> BatteryCharge::letCharge() {
  if (value(kChargeBehaviour) == kInhibitCharge) write(kChargeBehaviour, "auto");
  if (percent(kEndThreshold).value_or(100) < 100) write(kEndThreshold, "100");
  if (value(kChargeBehaviour) == kInhibitCharge) return keeps(kChargeBehaviour, "auto");
  if (percent(kEndThreshold).value_or(100) < 100) return keeps(kEndThreshold, "100");
  return std::nullopt;
}

std::optional<Trouble> BatteryCharge::putBack() {
  std::string text;
  const auto add = [&text](const std::optional<Trouble>& trouble) {
    if (trouble) text += (text.empty() ? "" : "; ") + trouble->text();
  };
  // Before anything is written, since some drivers move one threshold with the other.
  for (const std::string_view attribute : kHeldAttributes) add(leaveToOthers(attribute));
  // Drivers refuse a start that is not below the end, also below an end that another program has set.
  const FormerValue* const start = held_.find(name_, kStartThreshold);
  if (start != nullptr && held_.find(name_, kEndThreshold) == nullptr &&
      wholeNumber<int>(start->value).value_or(0) >= percent(kEndThreshold).value_or(101)) {
    held_.forget(name_, kStartThreshold);
  }
  add(putBack(kChargeBehaviour));
  // Holding has lowered both, so the end has to rise first.
  add(putBack(kEndThreshold));
  if (held_.find(name_, kEndThreshold) == nullptr) add(putBack(kStartThreshold));
  add(putBack(kChargeTypes));
  add(putBack(kChargeType));
  return text.empty() ? std::nullopt : std::optional(Trouble{.what = text});
}

Result<std::string> BatteryCharge::holdByWhatIsOffered(int least) {
  const bool mayChargeOn = percent("capacity").value_or(100) < least;
  const ChargeOffer offer = chargeOfferOf(folder_);
  if (offer.inhibitsCharge && !mayChargeOn) return holdByBehaviour();
  if (offer.hasEndThreshold) return holdByThreshold(least, offer);
  if (!offer.inhibitsCharge) return Trouble{.what = "the driver cannot hold the charge"};
  return Trouble{.what =
                     filledIn("it keeps charging because its charge is below {} %", {std::to_string(least)})};
}

Result<std::string> BatteryCharge::holdByBehaviour() {
  change(kChargeBehaviour, kInhibitCharge);
  if (value(kChargeBehaviour) != kInhibitCharge) return refused(kChargeBehaviour, kInhibitCharge);
  return std::string("the charge is held (charge_behaviour inhibit-charge)");
}

Result<std::string> BatteryCharge::holdByThreshold(int least, const ChargeOffer& offer) {
  const std::optional<int> capacity = percent("capacity");
  if (!capacity) return Trouble{.what = "its charge cannot be read"};
  const int charge = std::clamp(std::max(*capacity, least), 1, 100);
  for (const int wanted : endsFor(charge)) {
    if (isOver_ || isEndFor(charge, percent(kEndThreshold))) break;
    setEnd(wanted);
  }
  const std::optional<int> end = percent(kEndThreshold);
  if (!isEndFor(charge, end)) return refused(kEndThreshold, std::to_string(charge));
  // The thresholds are used with this type only (Documentation/ABI/testing/sysfs-class-power).
  trouble_.reset();
  if (!offer.typeAttribute.empty()) {
    change(offer.typeAttribute, kCustomCharge);
    // Without a list, a driver may be one that does not know the type and needs none.
    if (offer.typeAttribute == kChargeTypes && value(kChargeTypes) != kCustomCharge) {
      return refused(kChargeTypes, kCustomCharge);
    }
  }
  return filledIn("the charge is held at {} % (charge_control_end_threshold)", {std::to_string(*end)});
}

void BatteryCharge::setEnd(int percentage) {
  // Its start is not lowered for an end that could not be restored.
  if (!writeDown(kEndThreshold)) return;
  const int start = std::max(percentage - kThresholdGap, 0);
  if (percent(kStartThreshold).value_or(0) > start) change(kStartThreshold, std::to_string(start));
  change(kEndThreshold, std::to_string(percentage));
}

void BatteryCharge::change(std::string_view attribute, std::string_view wanted) {
  if (isOver_ || value(attribute) == wanted || !writeDown(attribute)) return;
  wasAsked_ = true;
  const std::optional<Trouble> trouble = write(attribute, wanted);
  isOver_ = trouble && isFinal(trouble->error);
  wasDenied_ = wasDenied_ || (trouble && trouble->error == EACCES);
  if (!trouble_) trouble_ = trouble;
}

bool BatteryCharge::writeDown(std::string_view attribute) {
  std::optional<std::string> former = value(attribute);
  if (!former) former = unsetValue(folder_, attribute);
  const std::optional<Trouble> trouble = held_.remember(name_, attribute, former);
  if (!trouble) return true;
  isOver_ = true;
  if (!trouble_) trouble_ = Trouble{.what = filledIn("{}; nothing is changed", {trouble->text()})};
  return false;
}

std::optional<Trouble> BatteryCharge::write(std::string_view attribute, std::string_view wanted) const {
  // The line end lets a plain file be read back too, though it was longer before.
  std::string line = std::string(wanted) + '\n';
  if (attribute == kChargeType) std::ranges::replace(line, '_', ' ');
  const FileDescriptor file(open((folder_ / attribute).c_str(), O_WRONLY | O_CLOEXEC));
  if (file && ::write(file.get(), line.data(), line.size()) >= 0) return std::nullopt;
  const int error = errno;
  if (error == EINVAL) return std::nullopt;
  return systemTrouble(filledIn("{} cannot be set to {}", {attribute, wanted}), {}, error);
}

const FormerValue* BatteryCharge::setByOthers(std::string_view attribute) const {
  const FormerValue* const former = held_.find(name_, attribute);
  const std::optional<std::string> now = value(attribute);
  if (former == nullptr || former->ours.empty() || !now) return nullptr;
  return now == former->ours || isBack(*former, now) ? nullptr : former;
}

Trouble BatteryCharge::ofOthers(std::string_view attribute) const {
  return {.what = filledIn("another program set {} to {}; that value stays",
                           {attribute, excerpt(value(attribute).value_or(""))})};
}

std::optional<Trouble> BatteryCharge::leaveToOthers(std::string_view attribute) {
  if (setByOthers(attribute) == nullptr) return std::nullopt;
  const Trouble trouble = ofOthers(attribute);
  held_.forget(name_, attribute);
  return trouble;
}

std::optional<Trouble> BatteryCharge::putBack(std::string_view attribute) {
  const FormerValue* const former = held_.find(name_, attribute);
  if (former == nullptr) return std::nullopt;
  std::optional<Trouble> trouble;
  if (!isBack(*former, value(attribute))) trouble = write(attribute, former->value);
  // A firmware that shows 0 for no threshold may refuse it.
  if (attribute == kEndThreshold && former->value == "0" && !isBack(*former, value(attribute)))
    write(attribute, "100");
  const std::optional<std::string> now = value(attribute);
  if (isBack(*former, now)) {
    held_.forget(name_, attribute);
    return std::nullopt;
  }
  if (now) held_.setOurs(name_, attribute, *now);
  return trouble ? trouble : keeps(attribute, former->value);
}

Trouble BatteryCharge::keeps(std::string_view attribute, std::string_view wanted) const {
  const std::optional<std::string> now = value(attribute);
  if (!now) return {.what = "{} cannot be read", .where = std::string(attribute)};
  return {.what =
              filledIn("the firmware kept {} at {}; {} was requested", {attribute, excerpt(*now), wanted})};
}

}  // namespace quorlin
