/// Owners of what libsystemd hands out, beside those of the bus.
#pragma once

#include "platform/linux/Bus.h"

#include <memory>

#include <systemd/sd-event.h>

namespace quorlin {

struct FlushCloseUnref {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using SystemBus = std::unique_ptr<sd_bus, FlushCloseUnref>;

struct TrackUnref {
  void operator()(sd_bus_track* track) const { sd_bus_track_unref(track); }
};
using BusTrack = std::unique_ptr<sd_bus_track, TrackUnref>;

struct EventUnref {
  void operator()(sd_event* event) const { sd_event_unref(event); }
};
using Event = std::unique_ptr<sd_event, EventUnref>;

/// Disabled before it is given back: the loop may hold it a little longer.
struct EventSourceUnref {
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
using EventSource = std::unique_ptr<sd_event_source, EventSourceUnref>;

}  // namespace quorlin
