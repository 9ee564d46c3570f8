#include "platform/linux/Bus.h"

#include "platform/posix/TextFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include <glib.h>

namespace quorlin {

int checked(int result, const char* attempt) {
  if (result < 0) throw BusError(std::string(attempt) + ": " + errorText(-result));
  return result;
}

void dropAddressedSignals(sd_bus* bus) {
  const sd_bus_message_handler_t drop = [](sd_bus_message* message, void*, sd_bus_error*) {
    const char* const sender = sd_bus_message_get_sender(message);
    const bool isOfBus = sender != nullptr && std::strcmp(sender, "org.freedesktop.DBus") == 0;
    const bool isLocal = sender == nullptr || std::strcmp(sender, "org.freedesktop.DBus.Local") == 0;
    return sd_bus_message_is_signal(message, nullptr, nullptr) > 0 &&
                   sd_bus_message_get_destination(message) != nullptr && !isOfBus && !isLocal
               ? 1
               : 0;
  };
  checked(sd_bus_add_filter(bus, nullptr, drop, nullptr), "watch the bus");
}

/// GLib's view of the connection: its descriptor, the events and the time that it waits for.
struct Bus::Source {
  GSource base;
  sd_bus* bus;
  // Ours, not one of g_source_add_unix_fd: changing the events of that one wakes the loop that is about to
  // wait.
  GPollFD descriptor;
  std::function<void()>* disconnected;

  static Source* of(GSource* source) { return reinterpret_cast<Source*>(source); }

  static gboolean prepare(GSource* base, gint* timeout) {
    Source* self = of(base);
    const int events = sd_bus_get_events(self->bus);
    // A closed connection has no events; dispatch says so once.
    if (events < 0) return TRUE;
    self->descriptor.events = static_cast<gushort>(events);
    std::uint64_t due = UINT64_MAX;
    if (sd_bus_get_timeout(self->bus, &due) <= 0 || due == UINT64_MAX) {
      *timeout = -1;
      return FALSE;
    }
    const auto now = static_cast<std::uint64_t>(g_get_monotonic_time());
    if (due <= now) return TRUE;
    *timeout = static_cast<gint>(std::min<std::uint64_t>((due - now + 999) / 1000, INT_MAX));
    return FALSE;
  }

  static gboolean check(GSource* base) {
    Source* self = of(base);
    std::uint64_t due = UINT64_MAX;
    const bool timedOut =
        sd_bus_get_timeout(self->bus, &due) > 0 && due <= static_cast<std::uint64_t>(g_get_monotonic_time());
    return timedOut || self->descriptor.revents != 0 ? TRUE : FALSE;
  }

  static gboolean dispatch(GSource* base, GSourceFunc /*callback*/, gpointer /*data*/) {
    Source* self = of(base);
    int processed = 1;
    while (processed > 0) processed = sd_bus_process(self->bus, nullptr);
    if (processed == 0 && sd_bus_is_open(self->bus) > 0) return G_SOURCE_CONTINUE;
    const std::function<void()> disconnected = std::exchange(*self->disconnected, nullptr);
    if (disconnected) disconnected();
    return G_SOURCE_REMOVE;
  }

  static void finalize(GSource* base) { delete of(base)->disconnected; }

  static GSourceFuncs* functions() {
    static GSourceFuncs functions = {prepare, check, dispatch, finalize, nullptr, nullptr};
    return &functions;
  }
};

Bus::Bus(sd_bus* bus) : bus_(bus), source_(Source::of(g_source_new(Source::functions(), sizeof(Source)))) {
  source_->bus = bus;
  source_->disconnected = new std::function<void()>();
  source_->descriptor = {.fd = checked(sd_bus_get_fd(bus), "watch the bus"), .events = G_IO_IN, .revents = 0};
  g_source_add_poll(&source_->base, &source_->descriptor);
  g_source_attach(&source_->base, nullptr);
}

Bus Bus::openSession() {
  sd_bus* bus = nullptr;
  const int opened = sd_bus_open_user(&bus);
  if (opened == -ENOMEDIUM) {
    throw BusError(
        "there is no session bus: neither DBUS_SESSION_BUS_ADDRESS nor XDG_RUNTIME_DIR leads to one");
  }
  checked(opened, "connect to the session bus");
  sd_bus_set_exit_on_disconnect(bus, 0);
  return Bus(bus);
}

Bus Bus::openSystem() {
  sd_bus* bus = nullptr;
  checked(sd_bus_open_system(&bus), "connect to the system bus");
  sd_bus_set_exit_on_disconnect(bus, 0);
  Bus opened(bus);
  dropAddressedSignals(bus);
  return opened;
}

Bus::Bus(Bus&& other) noexcept
    : bus_(std::move(other.bus_)), source_(std::exchange(other.source_, nullptr)) {}

Bus::~Bus() {
  if (source_ == nullptr) return;
  g_source_destroy(&source_->base);
  g_source_unref(&source_->base);
}

void Bus::setDisconnectedHandler(std::function<void()> handler) {
  *source_->disconnected = std::move(handler);
}

template <typename AddMatch>
BusSlot Bus::slotOf(Handler handler, const AddMatch& addMatch) {
  const sd_bus_message_handler_t call = [](sd_bus_message* message, void* userdata, sd_bus_error*) {
    try {
      (*static_cast<Handler*>(userdata))(message);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s: a message was dropped: %s\n", program_invocation_short_name, error.what());
    }
    return 0;
  };
  auto owned = std::make_unique<Handler>(std::move(handler));
  sd_bus_slot* slot = nullptr;
  checked(addMatch(&slot, call, owned.get()), "add a match");
  // From here on the slot owns its handler.
  sd_bus_slot_set_userdata(slot, owned.release());
  sd_bus_slot_set_destroy_callback(slot, [](void* userdata) { delete static_cast<Handler*>(userdata); });
  return BusSlot(slot);
}

BusSlot Bus::match(const std::string& rule, Handler handler) const {
  return slotOf(std::move(handler), [&](sd_bus_slot** slot, sd_bus_message_handler_t call, void* userdata) {
    return sd_bus_add_match(bus_.get(), slot, rule.c_str(), call, userdata);
  });
}

BusSlot Bus::matchSoon(const std::string& rule, Handler handler) const {
  return slotOf(std::move(handler), [&](sd_bus_slot** slot, sd_bus_message_handler_t call, void* userdata) {
    return sd_bus_add_match_async(bus_.get(), slot, rule.c_str(), call, nullptr, userdata);
  });
}

std::optional<pid_t> processOwning(const Bus& bus, const std::string& name) {
  sd_bus_creds* found = nullptr;
  const int result = sd_bus_get_name_creds(bus.get(), name.c_str(), SD_BUS_CREDS_PID, &found);
  const BusCredentials credentials(found);
  // sd_bus_get_name_creds(3): how the bus's "no such name" arrives.
  if (result == -ENXIO || result == -ESRCH) return std::nullopt;
  checked(result, "ask who owns a name on the bus");
  pid_t process = 0;
  checked(sd_bus_creds_get_pid(found, &process), "learn the process of a name's owner");
  return process;
}

}  // namespace quorlin
