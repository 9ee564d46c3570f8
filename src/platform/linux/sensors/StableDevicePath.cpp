#include "platform/linux/sensors/SensorDiscovery.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace quorlin {
namespace {

bool isEnumerated(std::string_view component) {
  constexpr std::array<std::string_view, 4> kinds = {"nvme", "host", "i2c-", "phy"};
  if (component.starts_with("target") && component.find(':') != std::string_view::npos) return true;
  return std::ranges::any_of(kinds, [component](std::string_view kind) {
    return component.starts_with(kind) && wholeNumber<std::uint64_t>(component.substr(kind.size()));
  });
}

/// An address on a bus without the number of the bus.
std::string_view addressOnBus(std::string_view component) {
  const std::size_t end = component.find_first_of(":-");
  if (end == std::string_view::npos || !wholeNumber<std::uint64_t>(component.substr(0, end)))
    return component;
  const std::string_view rest = component.substr(end + 1);
  const bool scsi = component[end] == ':' && std::ranges::count(rest, ':') == 2;  // host:channel:id:lun
  const bool i2c = component[end] == '-' && rest.size() == 4 && rest.starts_with("00");
  return scsi || i2c ? rest : component;
}

/// A HID device without its instance: bus:vendor:product.instance.
std::string_view withoutHidInstance(std::string_view component) {
  const bool hid =
      component.size() == 19 && component[4] == ':' && component[9] == ':' && component[14] == '.';
  return hid ? component.substr(0, 14) : component;
}

}  // namespace

std::string withoutEnumeration(std::string_view devicePath) {
  std::string stable;
  while (!devicePath.empty()) {
    const std::string_view component = takeUntil('/', devicePath);
    if (isEnumerated(component)) continue;
    if (!stable.empty()) stable += '/';
    stable += withoutHidInstance(addressOnBus(component));
  }
  return stable;
}

}  // namespace quorlin
