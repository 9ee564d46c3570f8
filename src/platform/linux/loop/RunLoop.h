/// The run loop on GLib's default main context, which the window's toolkit shares.
#pragma once

#include "platform/RunLoop.h"
#include "platform/values/Owned.h"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include <glib.h>

namespace quorlin {

/// The thread that makes it is the main thread.
class LinuxRunLoop final : public RunLoop {
 public:
  std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds interval,
                                       std::function<void()> action) override;
  void performOnMainThread(std::function<void()> action) override;
  bool isMainThread() const override;

  /// Calls the action on the main thread whenever the process receives the signal: SIGHUP, SIGINT, SIGTERM,
  /// SIGUSR1, SIGUSR2 or SIGWINCH.
  [[nodiscard]] static std::unique_ptr<Timer> watchSignal(int signal, std::function<void()> action);

  /// Returns after stop(); at once if that came before.
  void run();
  void stop();

 private:
  Owned<GMainLoop, g_main_loop_unref> loop_{g_main_loop_new(nullptr, FALSE)};
  std::thread::id mainThread_ = std::this_thread::get_id();
  bool stopped_ = false;
};

}  // namespace quorlin
