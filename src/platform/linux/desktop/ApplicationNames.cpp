#include "platform/linux/desktop/ApplicationNames.h"

#include <string_view>

namespace quorlin {
namespace {

constexpr std::string_view kFamily = "brellwick";

}  // namespace

bool isNameOfFamily(std::string_view name) {
  return name.starts_with(kFamily) && name.substr(kFamily.size()).starts_with('.');
}

ApplicationNames::ApplicationNames(const Bus& bus) {
  // The match comes first, so that no change falls between it and the list.
  changes_ = bus.match(
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0namespace='" +
          std::string(kFamily) + "'",
      [this](sd_bus_message* message) { ownerChanged(message); });

  for (const std::string& name : namesOn(bus)) {
    if (isNameOfFamily(name)) names_.insert(name);
  }
}

void ApplicationNames::ownerChanged(sd_bus_message* message) {
  const char* name = nullptr;
  const char* newOwner = nullptr;
  checked(sd_bus_message_read(message, "sss", &name, nullptr, &newOwner), "Cannot read a change of owner");
  if (*newOwner == '\0') {
    names_.erase(std::string(name));
  } else {
    names_.emplace(name);
  }
}

}  // namespace quorlin
