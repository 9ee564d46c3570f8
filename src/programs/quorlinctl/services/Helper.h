/// The root helper, as seen from the system bus.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// Whether a service runs or the bus can start it. Throws BusError.
bool isAvailable(const Bus& bus, std::string_view service);

/// The helper's answer, or why it did not answer.
struct HelperAnswer {
  enum class Kind { Answered, NotInstalled, NotAllowed, Failed };

  Kind kind = Kind::Failed;
  /// The answer, or the bus's own words.
  std::string text;
};

/// Both have the bus start the helper if it can. Throws BusError if no message could be made.
HelperAnswer askHelperVersion(const Bus& systemBus);

/// May ask the user for a password.
HelperAnswer askHelperToUninstall(const Bus& systemBus, const std::string& key);

}  // namespace quorlin
