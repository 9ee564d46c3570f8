#include "platform/linux/bus/SilentStart.h"

#include <cerrno>

namespace quorlin {

LauncherName::LauncherName(const Bus& bus, std::string_view name) : bus_(bus), name_(name) {
  const int requested = sd_bus_request_name(bus_.get(), name_.c_str(), 0);
  if (requested != -EEXIST && requested != -EALREADY)
    checked(requested, "Cannot own the launcher's name on the session bus");
}

LauncherName::~LauncherName() { sd_bus_release_name(bus_.get(), name_.c_str()); }

std::optional<CallError> startSilently(const Bus& bus, std::string_view service, std::string_view launcher,
                                       std::chrono::microseconds patience) {
  const LauncherName name(bus, launcher);
  // It answers from its main loop, after launching.
  const BusMessage ping =
      methodCall(bus.get(), {std::string(service).c_str(), "/", "org.freedesktop.DBus.Peer"}, "Ping");
  const auto answer = call(bus.get(), ping, patience);
  return answer ? std::nullopt : std::optional(answer.error());
}

}  // namespace quorlin
