/// Starting a service of the session bus in the background.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <chrono>
#include <string_view>

namespace quorlin {

/// A name on the bus that tells a service which starts meanwhile to stay in the background: its launcher's.
/// Another program may have it already, which tells the same.
class LauncherName {
 public:
  /// Throws BusError. The bus outlives the name.
  LauncherName(const Bus& bus, std::string_view name);
  ~LauncherName();
  LauncherName(const LauncherName&) = delete;
  LauncherName& operator=(const LauncherName&) = delete;

 private:
  const Bus& bus_;
  std::string name_;
};

/// Has the bus start a service in the background, unless it runs, and returns once it has launched. The error
/// is the bus's own. Throws BusError if it could not be asked.
std::optional<CallError> startSilently(const Bus& bus, std::string_view service, std::string_view launcher,
                                       std::chrono::microseconds patience);

}  // namespace quorlin
