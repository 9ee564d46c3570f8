/// The main thread's run loop and its timers.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quorlin {

/// Fires until it is destroyed.
class Timer {
 public:
  Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  virtual ~Timer() = default;
};

class RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Calls the action on the main thread once an interval, for the first time after one interval; also
  /// while a menu is open or a window is dragged. Main thread only.
  [[nodiscard]] virtual std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds interval,
                                                             std::function<void()> action) = 0;

  /// Queues an action for the main thread. Any thread.
  virtual void performOnMainThread(std::function<void()> action) = 0;

  virtual bool isMainThread() const = 0;
};

}  // namespace quorlin
