/// A connection to a message bus, driven by the run loop. The one place where sd-bus errors become ours.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <sys/types.h>
#include <systemd/sd-bus.h>

namespace quorlin {

/// The bus refused or could not be reached.
class BusError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Returns the result of an sd-bus call, or throws a BusError that names what was tried.
int checked(int result, const char* attempt);

/// Has the connection drop signals that are addressed to it alone, but for the bus's own. A match on a
/// well-known sender trusts the bus to let only that one's signals through, and the bus does so for broadcast
/// ones; anybody may send another to a unique name. Before the first match. Throws BusError.
void dropAddressedSignals(sd_bus* bus);

struct BusMessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageUnref>;

struct BusSlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using BusSlot = std::unique_ptr<sd_bus_slot, BusSlotUnref>;

struct CredentialsUnref {
  void operator()(sd_bus_creds* credentials) const { sd_bus_creds_unref(credentials); }
};
using BusCredentials = std::unique_ptr<sd_bus_creds, CredentialsUnref>;

/// Main thread only. Slots made from it are released before it.
class Bus {
 public:
  /// Connects to the user's session bus: $DBUS_SESSION_BUS_ADDRESS, else the one in $XDG_RUNTIME_DIR. Throws
  /// BusError.
  static Bus openSession();

  /// Connects to the system bus: $DBUS_SYSTEM_BUS_ADDRESS, else the one in /run/dbus. Signals addressed to
  /// this connection alone are dropped. Throws BusError.
  static Bus openSystem();

  ~Bus();
  Bus(Bus&& other) noexcept;
  Bus& operator=(Bus&&) = delete;

  sd_bus* get() const { return bus_.get(); }

  /// Called once, from the run loop, when the bus has gone away.
  void setDisconnectedHandler(std::function<void()> handler);

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

  struct Close {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
  };
  struct Source;

  explicit Bus(sd_bus* bus);

  std::unique_ptr<sd_bus, Close> bus_;
  Source* source_;
};

/// The process that owns a name, or nothing where there is none. Throws BusError.
std::optional<pid_t> processOwning(const Bus& bus, const std::string& name);

}  // namespace quorlin
