#include "core-helper/BatteryCharge.h"

#include "platform/linux/SystemBatteries.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>

namespace quorlin {
namespace {

constexpr std::string_view kInhibitCharge = "inhibit-charge";
constexpr std::string_view kCustom = "Custom";

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

/// Some firmware says 0 when it has no threshold.
bool isEndFor(int charge, std::optional<int> end) { return end && *end >= 1 && *end <= charge; }

bool isBack(const FormerValue& former, std::string_view now) {
  return now == former.value || (former.attribute == kEndThreshold && former.value == "0" && now == "100");
}

/// Whether no other value would fare better.
bool isFinal(int error) {
  constexpr std::array errors = {ENODEV, ENOENT, EROFS, EACCES, EPERM};
  return std::ranges::find(errors, error) != errors.end();
}

/// Empty for a value that the driver refuses: like one that the firmware ignores it is noticed in what is
/// read back.
std::string failure(std::string_view attribute, std::string_view wanted, int error) {
  if (error == 0 || error == EINVAL) return {};
  return std::string(attribute) + " cannot be set to " + std::string(wanted) + ": " + errorText(error);
}

void append(std::string& list, const std::string& entry) {
  if (!list.empty() && !entry.empty()) list += "; ";
  list += entry;
}

}  // namespace

BatteryCharge::BatteryCharge(std::filesystem::path folder, HeldCharge& held)
    : folder_(std::move(folder)), name_(folder_.filename()), held_(held) {}

BatteryCharge::Result BatteryCharge::hold(int least) {
  const bool wasHeld = held_.isAbout(name_);
  std::error_code error;
  Result result;
  const bool mayChargeOn = percent("capacity").value_or(100) < least;
  const bool hasBehaviour = offers(kChargeBehaviour, kInhibitCharge);
  if (hasBehaviour && !mayChargeOn) {
    result = holdByBehaviour();
  } else if (std::filesystem::exists(folder_ / kEndThreshold, error)) {
    result = holdByThreshold(least);
  } else if (hasBehaviour) {
    result.text = "it charges on, since its charge is below " + std::to_string(least) + " %";
  } else {
    result.text = "its driver offers nothing to hold the charge with";
  }
  // What an earlier call held is at least held above this charge.
  if (!result.isDone && !wasHeld) putBack();
  // Read only now: some drivers round a value, or move one threshold with the other.
  for (const std::string_view attribute : kHeldAttributes) {
    const FormerValue* const former = held_.find(name_, attribute);
    if (former != nullptr && former->ours.empty()) held_.setOurs(name_, attribute, value(attribute));
  }
  return result;
}

BatteryCharge::Result BatteryCharge::putBack() {
  Result result;
  // Before anything is written, since some drivers move one threshold with the other.
  for (const std::string_view attribute : kHeldAttributes) append(result.text, leaveToOthers(attribute));
  // Drivers refuse a start that is not below the end, also below one that somebody else has set.
  const FormerValue* const start = held_.find(name_, kStartThreshold);
  if (start != nullptr && held_.find(name_, kEndThreshold) == nullptr &&
      std::stoi(start->value) >= percent(kEndThreshold).value_or(101)) {
    held_.forget(name_, kStartThreshold);
  }
  append(result.text, putBack(kChargeBehaviour));
  // Holding has lowered both, so the end has to rise first.
  append(result.text, putBack(kEndThreshold));
  if (held_.find(name_, kEndThreshold) == nullptr) append(result.text, putBack(kStartThreshold));
  append(result.text, putBack(kChargeTypes));
  result.isDone = !held_.isAbout(name_);
  if (result.text.empty()) result.text = "charging as before";
  return result;
}

BatteryCharge::Result BatteryCharge::holdByBehaviour() {
  change(kChargeBehaviour, kInhibitCharge);
  if (value(kChargeBehaviour) != kInhibitCharge) return refused(kChargeBehaviour, kInhibitCharge);
  return {true, "charging is held (charge_behaviour inhibit-charge)"};
}

BatteryCharge::Result BatteryCharge::holdByThreshold(int least) {
  const std::optional<int> capacity = percent("capacity");
  if (!capacity) return {false, "its charge cannot be read"};
  const int charge = std::clamp(std::max(*capacity, least), 1, 100);
  for (const int wanted : endsFor(charge)) {
    if (isOver_ || isEndFor(charge, percent(kEndThreshold))) break;
    setEnd(wanted);
  }
  const std::optional<int> end = percent(kEndThreshold);
  if (!isEndFor(charge, end)) return refused(kEndThreshold, std::to_string(charge));
  // The thresholds are used with this type only (Documentation/ABI/testing/sysfs-class-power).
  trouble_.clear();
  if (offers(kChargeTypes, kCustom)) {
    change(kChargeTypes, kCustom);
    if (value(kChargeTypes) != kCustom) return refused(kChargeTypes, kCustom);
  }
  return {true, "charging is held at " + std::to_string(*end) + " % (charge_control_end_threshold)"};
}

void BatteryCharge::setEnd(int percentage) {
  // Its start is not lowered for an end that could not be put back.
  if (!writeDown(kEndThreshold)) return;
  const int start = std::max(percentage - kThresholdGap, 0);
  if (percent(kStartThreshold).value_or(0) > start) change(kStartThreshold, std::to_string(start));
  change(kEndThreshold, std::to_string(percentage));
}

void BatteryCharge::change(std::string_view attribute, std::string_view wanted) {
  if (isOver_ || value(attribute) == wanted || !writeDown(attribute)) return;
  wasAsked_ = true;
  const int error = write(attribute, wanted);
  isOver_ = isFinal(error);
  if (trouble_.empty()) trouble_ = failure(attribute, wanted, error);
}

bool BatteryCharge::writeDown(std::string_view attribute) {
  const std::string trouble = held_.remember(name_, attribute, value(attribute));
  if (trouble.empty()) return true;
  isOver_ = true;
  if (trouble_.empty()) trouble_ = trouble + "; nothing is changed";
  return false;
}

int BatteryCharge::write(std::string_view attribute, std::string_view wanted) const {
  // The line end lets a file that is no attribute be read back too, though it was longer before.
  const std::string line = std::string(wanted) + '\n';
  const FileDescriptor file(open((folder_ / attribute).c_str(), O_WRONLY | O_CLOEXEC));
  return file && ::write(file.get(), line.data(), line.size()) >= 0 ? 0 : errno;
}

std::string BatteryCharge::leaveToOthers(std::string_view attribute) {
  const FormerValue* const former = held_.find(name_, attribute);
  const std::string now = value(attribute);
  if (former == nullptr || former->ours.empty() || now.empty()) return {};
  if (now == former->ours || isBack(*former, now)) return {};
  held_.forget(name_, attribute);
  return "somebody set " + std::string(attribute) + " to " + displayText(now) + " meanwhile; it stays";
}

std::string BatteryCharge::putBack(std::string_view attribute) {
  const FormerValue* const former = held_.find(name_, attribute);
  if (former == nullptr) return {};
  int error = 0;
  if (!isBack(*former, value(attribute))) error = write(attribute, former->value);
  // A firmware that shows 0 for no threshold may refuse it.
  if (attribute == kEndThreshold && former->value == "0" && !isBack(*former, value(attribute)))
    write(attribute, "100");
  const std::string now = value(attribute);
  if (isBack(*former, now)) {
    held_.forget(name_, attribute);
    return {};
  }
  held_.setOurs(name_, attribute, now);
  const std::string trouble = failure(attribute, former->value, error);
  return trouble.empty() ? keeps(attribute, former->value) : trouble;
}

std::string BatteryCharge::value(std::string_view attribute) const {
  std::string text = supplyText(folder_, std::string(attribute));
  if (attribute != kChargeBehaviour && attribute != kChargeTypes) return text;
  const std::size_t open = text.find('[');
  const std::size_t close = text.find(']', open);
  return close == std::string::npos ? std::string() : text.substr(open + 1, close - open - 1);
}

bool BatteryCharge::offers(std::string_view attribute, std::string_view choice) const {
  std::string choices = ' ' + supplyText(folder_, std::string(attribute)) + ' ';
  std::ranges::replace_if(
      choices, [](char character) { return character == '[' || character == ']'; }, ' ');
  return choices.find(' ' + std::string(choice) + ' ') != std::string::npos;
}

std::optional<int> BatteryCharge::percent(std::string_view attribute) const {
  return supplyNumber(folder_, std::string(attribute));
}

BatteryCharge::Result BatteryCharge::refused(std::string_view attribute, std::string_view wanted) const {
  return {false, trouble_.empty() ? keeps(attribute, wanted) : trouble_};
}

std::string BatteryCharge::keeps(std::string_view attribute, std::string_view wanted) const {
  const std::string now = displayText(value(attribute));
  if (now.empty()) return std::string(attribute) + " cannot be read";
  return "the firmware keeps " + std::string(attribute) + " at " + now + "; " + std::string(wanted) +
         " was asked for";
}

}  // namespace quorlin
