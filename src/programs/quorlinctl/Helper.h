/// The root helper as the system bus knows it, asked by a person.
#pragma once

#include "platform/linux/Bus.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// Whether a service runs or can be started by the bus. Throws BusError.
bool isAvailable(const Bus& bus, std::string_view service);

/// What became of a question: the helper's answer, or why there is none.
struct HelperAnswer {
  enum class Kind { Answered, NotInstalled, NotAllowed, Failed };

  Kind kind = Kind::Failed;
  /// The answer, or the bus's own words.
  std::string text;
};

/// Both start the helper where the bus can. Throws BusError when not even a message could be made.
HelperAnswer askHelperVersion(const Bus& systemBus);

/// The user may be asked for a password meanwhile.
HelperAnswer askHelperToUninstall(const Bus& systemBus, const std::string& key);

}  // namespace quorlin
