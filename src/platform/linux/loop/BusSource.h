/// A bus on GLib's main loop.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <functional>
#include <utility>

namespace quorlin {

/// Has the default main context send and receive for a bus, for as long as it lives. Main thread only.
class BusSource {
 public:
  /// Calls the handler once, from the loop, when the bus has gone away. Throws BusError. The bus outlives it.
  explicit BusSource(const Bus& bus, std::function<void()> disconnected = nullptr);
  ~BusSource();
  BusSource(const BusSource&) = delete;
  BusSource& operator=(const BusSource&) = delete;

  void setDisconnectedHandler(std::function<void()> handler) { disconnected_ = std::move(handler); }

 private:
  struct Source;

  std::function<void()> disconnected_;
  Source* source_;
};

}  // namespace quorlin
