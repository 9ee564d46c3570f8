#include "platform/linux/loop/BusSource.h"

#include <cstdint>
#include <utility>

#include <glib.h>

namespace quorlin {

/// GLib's view of the connection: its descriptor, the events and the time that it waits for.
struct BusSource::Source {
  GSource base;
  sd_bus* bus;
  // Ours, not one of g_source_add_unix_fd: changing the events of that one wakes the loop that is about to
  // wait.
  GPollFD descriptor;
  std::function<void()>* disconnected;

  static Source* of(GSource* source) { return reinterpret_cast<Source*>(source); }

  static gboolean prepare(GSource* base, gint* /*timeout*/) {
    Source* self = of(base);
    const int events = sd_bus_get_events(self->bus);
    // A closed connection has no events; dispatch says so once.
    if (events < 0) return TRUE;
    self->descriptor.events = static_cast<gushort>(events);
    std::uint64_t due = UINT64_MAX;
    const bool hasTime = sd_bus_get_timeout(self->bus, &due) > 0 && due != UINT64_MAX;
    // Both count by the monotonic clock. Setting the time that is set already wakes nobody.
    g_source_set_ready_time(base, hasTime ? static_cast<gint64>(due) : -1);
    return FALSE;
  }

  static gboolean check(GSource* base) { return of(base)->descriptor.revents != 0 ? TRUE : FALSE; }

  static gboolean dispatch(GSource* base, GSourceFunc /*callback*/, gpointer /*data*/) {
    Source* self = of(base);
    int processed = 1;
    while (processed > 0) processed = sd_bus_process(self->bus, nullptr);
    if (processed == 0 && sd_bus_is_open(self->bus) > 0) return G_SOURCE_CONTINUE;
    const std::function<void()> disconnected = std::exchange(*self->disconnected, nullptr);
    if (disconnected) disconnected();
    return G_SOURCE_REMOVE;
  }

  static GSourceFuncs* functions() {
    static GSourceFuncs functions = {prepare, check, dispatch, nullptr, nullptr, nullptr};
    return &functions;
  }
};

BusSource::BusSource(const Bus& bus, std::function<void()> disconnected)
    : disconnected_(std::move(disconnected)),
      source_(Source::of(g_source_new(Source::functions(), sizeof(Source)))) {
  source_->bus = bus.get();
  source_->disconnected = &disconnected_;
  const int descriptor = sd_bus_get_fd(bus.get());
  if (descriptor < 0) g_source_unref(&source_->base);
  source_->descriptor = {.fd = checked(descriptor, "Cannot watch the bus"), .events = G_IO_IN, .revents = 0};
  g_source_add_poll(&source_->base, &source_->descriptor);
  g_source_attach(&source_->base, nullptr);
}

BusSource::~BusSource() {
  g_source_destroy(&source_->base);
  g_source_unref(&source_->base);
}

}  // namespace quorlin
