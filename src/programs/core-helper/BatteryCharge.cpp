#include "core-helper/BatteryCharge.h"

#include "platform/linux/SystemBatteries.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>

namespace quorlin {
namespace {

constexpr std::string_view kInhibitCharge = "inhibit-charge";

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

}  // namespace

BatteryCharge::BatteryCharge(std::filesystem::path folder, HeldCharge& held)
    : folder_(std::move(folder)), name_(folder_.filename()), held_(held) {}

BatteryCharge::Result BatteryCharge::hold() {
  const bool wasHeld = held_.isAbout(name_);
  const std::string behaviours = ' ' + supplyText(folder_, std::string(kChargeBehaviour)) + ' ';
  const bool canInhibit = behaviours.find(" inhibit-charge ") != std::string::npos ||
                          behaviours.find(" [inhibit-charge] ") != std::string::npos;
  std::error_code error;
  Result result;
  if (canInhibit) {
    result = holdByBehaviour();
  } else if (std::filesystem::exists(folder_ / kEndThreshold, error)) {
    result = holdByThreshold();
  } else {
    result.text = "its driver offers nothing to hold the charge with";
  }
  // What an earlier call held is at least held above this charge.
  if (!result.isDone && !wasHeld) putBack();
  return result;
}

BatteryCharge::Result BatteryCharge::putBack() {
  Result result;
  const auto add = [&result](const std::string& trouble) {
    if (!trouble.empty()) result.text += (result.text.empty() ? "" : "; ") + trouble;
  };
  add(putBack(kChargeBehaviour));
  // Drivers refuse a start that is not below the end. Holding has lowered both, so that the end has to rise
  // first, unless somebody has raised the start since.
  const std::string* const end = held_.find(name_, kEndThreshold);
  const std::optional<int> start = percent(kStartThreshold);
  if (end != nullptr && start && *start >= std::stoi(*end)) putBack(kStartThreshold);
  add(putBack(kEndThreshold));
  if (held_.find(name_, kEndThreshold) == nullptr) add(putBack(kStartThreshold));
  result.isDone = result.text.empty();
  if (result.isDone) result.text = "charging as before";
  return result;
}

BatteryCharge::Result BatteryCharge::holdByBehaviour() {
  const std::string trouble = change(kChargeBehaviour, std::string(kInhibitCharge));
  if (value(kChargeBehaviour) == kInhibitCharge)
    return {true, "charging is held (charge_behaviour inhibit-charge)"};
  return {false, trouble.empty() ? keeps(kChargeBehaviour, kInhibitCharge) : trouble};
}

BatteryCharge::Result BatteryCharge::holdByThreshold() {
  const std::optional<int> capacity = percent("capacity");
  if (!capacity) return {false, "its charge cannot be read"};
  const int charge = std::clamp(*capacity, 1, 100);
  std::optional<int> end = percent(kEndThreshold);
  std::string trouble;
  for (const int wanted : endsFor(charge)) {
    if (isEndFor(charge, end) || !trouble.empty()) break;
    trouble = setEnd(wanted);
    end = percent(kEndThreshold);
  }
  if (isEndFor(charge, end)) {
    return {true, "charging is held at " + std::to_string(*end) + " % (charge_control_end_threshold)"};
  }
  return {false, trouble.empty() ? keeps(kEndThreshold, std::to_string(charge)) : trouble};
}

std::string BatteryCharge::setEnd(int percentage) {
  std::string trouble = writeDown(kEndThreshold);
  if (!trouble.empty()) return trouble;
  const std::optional<int> start = percent(kStartThreshold);
  if (start && *start >= percentage) {
    trouble = change(kStartThreshold, std::to_string(std::max(percentage - kThresholdGap, 0)));
    if (!trouble.empty()) return trouble;
  }
  return change(kEndThreshold, std::to_string(percentage));
}

std::string BatteryCharge::change(std::string_view attribute, const std::string& wanted) {
  if (value(attribute) == wanted) return {};
  std::string trouble = writeDown(attribute);
  return trouble.empty() ? write(attribute, wanted) : trouble;
}

std::string BatteryCharge::writeDown(std::string_view attribute) {
  const std::string trouble = held_.remember(name_, attribute, value(attribute));
  return trouble.empty() ? trouble : trouble + "; nothing is changed";
}

std::string BatteryCharge::write(std::string_view attribute, const std::string& wanted) const {
  // The line end lets a file that is no attribute be read back too, though it was longer before.
  const std::string line = wanted + '\n';
  const FileDescriptor file(open((folder_ / attribute).c_str(), O_WRONLY | O_CLOEXEC));
  if (file && ::write(file.get(), line.data(), line.size()) >= 0) return {};
  if (errno == EINVAL) return {};
  return std::string(attribute) + " cannot be set to " + wanted + ": " + errorText(errno);
}

std::string BatteryCharge::putBack(std::string_view attribute) {
  const std::string* const former = held_.find(name_, attribute);
  if (former == nullptr) return {};
  std::string trouble;
  if (value(attribute) != *former) trouble = write(attribute, *former);
  if (value(attribute) != *former) return trouble.empty() ? keeps(attribute, *former) : trouble;
  held_.forget(name_, attribute);
  return {};
}

std::string BatteryCharge::value(std::string_view attribute) const {
  std::string text = supplyText(folder_, std::string(attribute));
  if (attribute != kChargeBehaviour) return text;
  const std::size_t open = text.find('[');
  const std::size_t close = text.find(']', open);
  return close == std::string::npos ? std::string() : text.substr(open + 1, close - open - 1);
}

std::optional<int> BatteryCharge::percent(std::string_view attribute) const {
  return supplyNumber(folder_, std::string(attribute));
}

std::string BatteryCharge::keeps(std::string_view attribute, std::string_view wanted) const {
  const std::string now = displayText(value(attribute));
  if (now.empty()) return std::string(attribute) + " cannot be read";
  return "the firmware keeps " + std::string(attribute) + " at " + now + "; " + std::string(wanted) +
         " was asked for";
}

}  // namespace quorlin
