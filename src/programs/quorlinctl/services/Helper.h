/// The root helper, as seen from the system bus.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quorlin {

/// Why the helper did not answer.
struct HelperRefusal {
  enum class Kind { NotInstalled, NotAllowed, Failed };
  Kind kind = Kind::Failed;
  /// The bus's own words.
  std::string reason;
};

/// What GetChargeHold tells.
struct HeldBattery {
  std::string name;
  bool isHeld = false;
  /// The attribute by which it is or would be held.
  std::string attribute;
  /// On the last request about it; empty if there was none.
  std::string text;
};

struct HelperHold {
  /// The unique name of the connection for which the charge is held, and its user; empty without a hold.
  std::string holder;
  uid_t user = 0;
  std::vector<HeldBattery> batteries;

  bool isHeld() const {
    return std::ranges::any_of(batteries, [](const HeldBattery& battery) { return battery.isHeld; });
  }
};

/// Whether the system bus knows it; false without a system bus.
bool isHelperInstalled();

/// A helper that does not run is not started: it holds nothing. Throws BusError if no message could be made.
Result<HelperHold, HelperRefusal> askHowHeld(const Bus& systemBus);

/// Both have the bus start the helper if it can. Throws BusError if no message could be made.
Result<std::string, HelperRefusal> askHelperVersion(const Bus& systemBus);

/// May ask the user for a password.
Result<std::string, HelperRefusal> askHelperToUninstall(const Bus& systemBus, const std::string& key);

}  // namespace quorlin
