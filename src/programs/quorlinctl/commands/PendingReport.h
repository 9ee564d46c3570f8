/// What --once waits for: a sample and power metrics, each if it is expected, for one report of both.
#pragma once

#include "platform/NotificationCenter.h"
#include "platform/RunLoop.h"
#include "programs/quorlinctl/services/Consumer.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace quorlin {

/// Main thread only.
class PendingReport {
 public:
  struct Expectation {
    Role role = Role::MainApp;
    bool sample = true;
    bool power = false;
    /// How long the whole report may take; nothing for the default patience with each part.
    std::optional<std::chrono::milliseconds> timeout;
  };

  /// Calls ended when everything expected has come, and when the time is up. The run loop outlives it.
  PendingReport(RunLoop& loop, const Expectation& expected, std::function<void()> ended);

  void take(const Notification& notification);

  /// The parts that have arrived.
  const std::optional<Notification>& sample() const { return sample_; }
  const std::optional<Notification>& power() const { return power_; }

 private:
  RunLoop& loop_;
  Expectation expected_;
  std::function<void()> ended_;
  std::optional<Notification> sample_;
  std::optional<Notification> power_;
  std::unique_ptr<Timer> patience_;
};

}  // namespace quorlin
