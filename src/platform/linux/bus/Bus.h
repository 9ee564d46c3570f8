/// A connection to a message bus. The one place where sd-bus errors become ours.
#pragma once

#include "platform/values/Owned.h"
#include "platform/values/Result.h"

#include <chrono>
#include <functional>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>
#include <systemd/sd-bus.h>

namespace quorlin {

/// The bus refused or could not be reached.
class BusError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Returns the result of an sd-bus call. Throws a BusError with the complaint, a whole sentence, and the
/// reason.
int checked(int result, const char* complaint);

using BusMessage = Owned<sd_bus_message, sd_bus_message_unref>;
using BusSlot = Owned<sd_bus_slot, sd_bus_slot_unref>;
using BusCredentials = Owned<sd_bus_creds, sd_bus_creds_unref>;
/// Sends queued messages before it closes.
using BusHandle = Owned<sd_bus, sd_bus_flush_close_unref>;

/// Has the connection drop signals that are addressed to it alone, except the bus's own. A match on a
/// well-known sender trusts the bus to let only that one's signals through, and the bus does so for broadcast
/// ones; anybody may send another to a unique name. Before the first match. Throws BusError.
void dropAddressedSignals(sd_bus* bus);

/// An object on a bus, and one of its interfaces.
struct BusObject {
  const char* name;
  const char* path;
  const char* interface;
};

/// A call that failed or was refused.
struct CallError {
  /// The D-Bus error's name.
  std::string name;
  /// For people; perhaps empty.
  std::string message;

  bool isOneOf(std::initializer_list<const char*> names) const;
};

/// A method call to be filled and sent. Throws BusError.
BusMessage methodCall(sd_bus* bus, const BusObject& object, const char* member);

/// Sends a method call and waits for its answer, by default for sd-bus's own 25 seconds. Other messages that
/// arrive meanwhile are kept for the event loop.
Result<BusMessage, CallError> call(sd_bus* bus, const BusMessage& message,
                                   std::chrono::microseconds patience = {});

/// Appends an array of strings. Throws a BusError with the complaint.
void appendStrings(sd_bus_message* message, const std::vector<std::string>& strings, const char* complaint);

/// The string that an answer begins with, valid as long as the message; null where it begins with none.
const char* stringIn(const BusMessage& message);

/// It needs an event loop to be attached to. One thread. Slots made from it are released before it.
class Bus {
 public:
  /// Connects to the user's session bus: $DBUS_SESSION_BUS_ADDRESS, else the one in $XDG_RUNTIME_DIR. Throws
  /// BusError.
  static Bus openSession();

  /// Connects to the system bus: $DBUS_SYSTEM_BUS_ADDRESS, else the one in /run/dbus. Signals addressed to
  /// this connection alone are dropped. Throws BusError.
  static Bus openSystem();

  sd_bus* get() const { return bus_.get(); }

  /// Adds a match and calls the handler for each message that it lets through. Throws BusError. An exception
  /// of the handler ends with a line on the error stream.
  [[nodiscard]] BusSlot match(const std::string& rule, std::function<void(sd_bus_message*)> handler) const;

  /// The same without waiting for the bus; one that refuses the rule is disconnected.
  [[nodiscard]] BusSlot matchSoon(const std::string& rule,
                                  std::function<void(sd_bus_message*)> handler) const;

 private:
  using Handler = std::function<void(sd_bus_message*)>;

  template <typename AddMatch>
  static BusSlot slotOf(Handler handler, const AddMatch& addMatch);

  explicit Bus(sd_bus* bus) : bus_(bus) {}

  BusHandle bus_;
};

enum class NameState { Owned, Activatable };

/// The names on a bus that have an owner, unique ones among them, or for which the bus can start one. Throws
/// BusError.
std::vector<std::string> namesOn(const Bus& bus, NameState state = NameState::Owned);

/// Whether a service runs or the bus can start it. Throws BusError.
bool isAvailable(const Bus& bus, std::string_view service);

/// The process that owns a name, or nothing if the name has no owner. Throws BusError.
std::optional<pid_t> processOwning(const Bus& bus, const std::string& name);

}  // namespace quorlin
