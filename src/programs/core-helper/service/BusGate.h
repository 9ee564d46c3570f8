/// The helper's way to the system bus.
#pragma once

#include "platform/linux/bus/Bus.h"
#include "platform/posix/FileDescriptor.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace quorlin {

/// A thread that carries bytes between the bus and libsystemd, and sifts what comes in. It ends when either
/// of them closes its connection; what one has sent by then still reaches the other.
class BusGate {
 public:
  /// Connects to the bus at an address of the form unix:path=PATH. Throws BusError.
  explicit BusGate(const std::string& address);
  /// The connection is closed before.
  ~BusGate();
  BusGate(const BusGate&) = delete;

  /// A connection that has said hello. Once. Throws BusError.
  BusHandle connect();

  /// How many calls have come so far, those included that still wait for their turn. Any thread.
  std::uint64_t callsReceived() const { return callsReceived_; }

 private:
  FileDescriptor library_;
  std::atomic<std::uint64_t> callsReceived_ = 0;
  std::thread thread_;
};

/// $DBUS_SYSTEM_BUS_ADDRESS or the usual place.
std::string systemBusAddress();

}  // namespace quorlin
