#include "platform/linux/power/SystemBatteries.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <cstring>

namespace quorlin {
namespace {

/// The supplies of a type that serve the computer and not a device beside it (scope in
/// Documentation/ABI/testing/sysfs-class-power).
std::vector<std::filesystem::path> suppliesWhere(const std::filesystem::path& sysfsRoot,
                                                 bool (*isWanted)(std::string_view type)) {
  const std::filesystem::path folder = sysfsRoot / "class/power_supply";
  std::vector<std::string> names = namesIn(folder.string()).value_or({});
  std::ranges::sort(names, [](const std::string& left, const std::string& right) {
    return strverscmp(left.c_str(), right.c_str()) < 0;
  });
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
