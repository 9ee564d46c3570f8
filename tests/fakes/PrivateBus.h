/// A session bus of the test's own.
#pragma once

#include "platform/linux/processes/Spawn.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <glib.h>
#include <unistd.h>

namespace quorlin {

/// $DBUS_SESSION_BUS_ADDRESS leads to it from its construction on.
class PrivateBus {
 public:
  PrivateBus() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    auto started =
        spawn("dbus-daemon", {"--session", "--nofork", "--print-address"}, {.output = ends[1], .folder = {}});
    if (started) daemon_ = *started;
    close(ends[1]);
    std::string address;
    for (char byte = 0; read(ends[0], &byte, 1) == 1 && byte != '\n';) address += byte;
    close(ends[0]);
    if (address.empty()) throw std::runtime_error("dbus-daemon did not start");
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
  }
  ~PrivateBus() { stop(); }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  void stop() {
    if (!daemon_) return;
    kill(*daemon_, SIGTERM);
    waitForEnd(*std::exchange(daemon_, std::nullopt));
  }

 private:
  std::optional<pid_t> daemon_;
};

/// Runs the main loop until the condition holds. False when it does not in a minute.
inline bool runUntil(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  const guint wakeUp = g_timeout_add(
      1000, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  while (!condition() && std::chrono::steady_clock::now() < deadline) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(wakeUp);
  return condition();
}

}  // namespace quorlin
