#include "platform/linux/power/SystemBatteries.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <algorithm>

namespace quorlin {
namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// Takes a run of digits without its leading zeros, or one other character, off the front.
std::string_view takePart(std::string_view& text) {
  const auto digits = static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
  std::string_view part = text.substr(0, std::max<std::size_t>(digits, 1));
  text.remove_prefix(part.size());
  while (part.size() > 1 && part.front() == '0') part.remove_prefix(1);
  return part;
}

bool comesBefore(std::string_view left, std::string_view right) {
  const std::string_view wholeLeft = left;
  const std::string_view wholeRight = right;
  while (!left.empty() && !right.empty()) {
    const std::string_view a = takePart(left);
    const std::string_view b = takePart(right);
    if (a == b) continue;
    // Of two numbers the longer one is the greater.
    return a.size() != b.size() && isDigit(a.front()) && isDigit(b.front()) ? a.size() < b.size() : a < b;
  }
  if (left.empty() && right.empty()) return wholeLeft < wholeRight;
  return left.empty();
}

/// The supplies of a type that serve the computer and not a device beside it (scope in
/// Documentation/ABI/testing/sysfs-class-power).
template <typename IsWanted>
std::vector<std::filesystem::path> suppliesWhere(const std::filesystem::path& sysfsRoot, IsWanted isWanted) {
  const std::filesystem::path folder = sysfsRoot / "class/power_supply";
  std::vector<std::string> names = namesIn(folder.string()).value_or({});
  std::ranges::sort(names, comesBefore);
  std::vector<std::filesystem::path> found;
  for (const std::string& name : names) {
    const std::filesystem::path supply = folder / name;
    if (isWanted(supplyText(supply, "type")) && supplyText(supply, "scope") != "Device") {
      found.push_back(supply);
    }
  }
  return found;
}

}  // namespace

std::vector<std::filesystem::path> systemBatteries(const std::filesystem::path& sysfsRoot) {
  auto batteries = suppliesWhere(sysfsRoot, [](std::string_view type) { return type == "Battery"; });
  std::erase_if(batteries, [](const auto& battery) { return supplyText(battery, "present") == "0"; });
  return batteries;
}

std::vector<std::filesystem::path> externalSupplies(const std::filesystem::path& sysfsRoot) {
  return suppliesWhere(sysfsRoot, [](std::string_view type) {
    // Older kernels have a type for each kind of USB charger, such as USB_PD.
    return type == "Mains" || type == "USB" || type.starts_with("USB_") || type == "Wireless";
  });
}

std::string supplyText(const std::filesystem::path& supply, std::string_view attribute) {
  return readText((supply / attribute).string()).value_or("");
}

std::optional<std::int32_t> supplyNumber(const std::filesystem::path& supply, std::string_view attribute) {
  const auto number = wholeNumber<std::int32_t>(supplyText(supply, attribute));
  return number && *number >= 0 ? number : std::nullopt;
}

}  // namespace quorlin
