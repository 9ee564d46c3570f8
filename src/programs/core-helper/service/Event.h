/// libsystemd's event loop.
#pragma once

#include "platform/linux/bus/Bus.h"
#include "platform/values/Owned.h"

#include <chrono>
#include <cstdint>

#include <systemd/sd-event.h>

namespace quorlin {

using Event = Owned<sd_event, sd_event_unref>;
/// Disabled before it is released: the loop may keep it a little longer.
using EventSource = Owned<sd_event_source, sd_event_source_disable_unref>;

/// Calls back once, after that time. Throws BusError.
inline EventSource timer(sd_event* event, std::chrono::steady_clock::duration after,
                         sd_event_time_handler_t callback, void* userdata) {
  constexpr std::uint64_t accuracy = 1000;
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(after);
  sd_event_source* source = nullptr;
  checked(sd_event_add_time_relative(event, &source, CLOCK_MONOTONIC,
                                     static_cast<std::uint64_t>(microseconds.count()), accuracy, callback,
                                     userdata),
          "Cannot set a timer");
  return EventSource(source);
}

}  // namespace quorlin
