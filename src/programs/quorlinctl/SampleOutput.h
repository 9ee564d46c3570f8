/// Samples for people: plain reports, or a live screen.
#pragma once

#include "platform/linux/RunLoop.h"
#include "quorlinctl/Consumer.h"
#include "quorlinctl/Output.h"
#include "quorlinctl/SampleView.h"
#include "quorlinctl/Terminal.h"

#include <chrono>

namespace quorlin {

/// Keeps what the notifications have brought, and the battery's state of that moment, ready to be shown.
class ViewState {
 public:
  /// The power sources outlive it.
  ViewState(Role role, PowerSources& powerSources);

  using Clock = std::chrono::steady_clock;

  const SampleView& view() const { return view_; }
  /// Whether there is something new to be shown: a sample, or power metrics where no sample has come.
  bool take(const Notification& notification, Clock::time_point now = Clock::now());
  /// Forgets the sample, since no other follows it.
  void explainSilence(const std::string& reason, Clock::time_point now = Clock::now());

 private:
  void forgetOldPower(Clock::time_point now);

  std::string_view fullSample_;
  PowerSources& powerSources_;
  SampleView view_;
  Clock::time_point powerTime_;
};

/// One report a sample, or for power metrics where no sample has come; a blank line between two.
class ReportOutput final : public Output {
 public:
  ReportOutput(Role role, PowerSources& powerSources) : state_(role, powerSources) {}

  std::error_code show(const Notification& notification) override;
  void remember(const Notification& notification) override { state_.take(notification); }

 private:
  ViewState state_;
  bool first_ = true;
};

/// Draws in place. Calls quit for the key q.
class LiveOutput final : public Output {
 public:
  LiveOutput(Role role, PowerSources& powerSources, LinuxRunLoop& loop, std::function<void()> quit);

  std::error_code show(const Notification& notification) override;
  void explainSilence(const std::string& reason) override;

 private:
  std::error_code draw() const;

  ViewState state_;
  Screen screen_;
  std::unique_ptr<Timer> resized_;
};

}  // namespace quorlin
