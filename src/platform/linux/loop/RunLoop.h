/// The run loop on GLib's default main context, which the window's toolkit shares.
#pragma once

#include "platform/RunLoop.h"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace quorlin {

/// The thread that makes it is the main thread.
class LinuxRunLoop final : public RunLoop {
 public:
  LinuxRunLoop();
  ~LinuxRunLoop() override;
  LinuxRunLoop(const LinuxRunLoop&) = delete;
  LinuxRunLoop& operator=(const LinuxRunLoop&) = delete;

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
  struct Loop;

  std::unique_ptr<Loop> loop_;
  std::thread::id mainThread_;
  bool stopped_ = false;
};

}  // namespace quorlin
