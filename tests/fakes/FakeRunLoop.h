/// A main loop that turns when the test says so.
#pragma once

#include "platform/RunLoop.h"

#include <deque>
#include <functional>
#include <memory>
#include <utility>

namespace quorlin {

class FakeRunLoop final : public RunLoop {
 public:
  std::chrono::milliseconds interval{0};
  std::function<void()> fireTimer;
  bool onMainThread = true;

  std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds every,
                                       std::function<void()> action) override {
    interval = every;
    fireTimer = std::move(action);
    return std::make_unique<Timer>();
  }
  void performOnMainThread(std::function<void()> action) override { queue_.push_back(std::move(action)); }
  bool isMainThread() const override { return onMainThread; }

  void runQueue() {
    while (!queue_.empty()) {
      const auto action = std::move(queue_.front());
      queue_.pop_front();
      action();
    }
  }

 private:
  std::deque<std::function<void()>> queue_;
};

}  // namespace quorlin
