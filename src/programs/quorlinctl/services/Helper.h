/// The root helper, as seen from the system bus.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <string>

namespace quorlin {

/// Why the helper did not answer.
struct HelperRefusal {
  enum class Kind { NotInstalled, NotAllowed, Failed };
  Kind kind = Kind::Failed;
  /// The bus's own words.
  std::string reason;
};

/// Both have the bus start the helper if it can. Throws BusError if no message could be made.
Result<std::string, HelperRefusal> askHelperVersion(const Bus& systemBus);

/// May ask the user for a password.
Result<std::string, HelperRefusal> askHelperToUninstall(const Bus& systemBus, const std::string& key);

}  // namespace quorlin
