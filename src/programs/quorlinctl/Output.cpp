#include "quorlinctl/Output.h"

#include "core/Notifications.h"
#include "quorlinctl/Battery.h"
#include "quorlinctl/Json.h"

#include <cerrno>

#include <unistd.h>

namespace quorlin {

std::error_code writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return {errno, std::generic_category()};
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

void complain(std::string_view message) {
  // Nobody is left to hear that the error stream is closed.
  writeAll(STDERR_FILENO, "quorlinctl: " + std::string(message) + "\n");
}

std::error_code JsonOutput::show(const Notification& notification) {
  using namespace notification;
  const bool withBattery = notification.name == kCoreData || notification.name == kSensorsDataM ||
                           notification.name == kSensorsDataW;
  const std::optional<Battery> battery =
      withBattery ? std::optional(readBattery(powerSources_)) : std::nullopt;
  return writeAll(STDOUT_FILENO, jsonLineOf(notification, battery) + "\n");
}

}  // namespace quorlin
