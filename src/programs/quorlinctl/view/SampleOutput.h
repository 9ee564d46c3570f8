/// Where the samples go: standard output as JSON lines, as plain reports, or as a live screen.
#pragma once

#include "platform/NotificationCenter.h"
#include "platform/PowerSources.h"
#include "platform/RunLoop.h"
#include "programs/quorlinctl/services/Consumer.h"
#include "programs/quorlinctl/terminal/Terminal.h"
#include "programs/quorlinctl/view/SampleView.h"

#include <chrono>

namespace quorlin {

/// Main thread only. An error ends the program; a closed pipe ends it silently.
class Output {
 public:
  virtual ~Output() = default;

  virtual std::optional<Trouble> show(const Notification& notification) = 0;

  /// Keeps power metrics for the next sample.
  virtual void remember(const Notification& /*notification*/) {}

  /// Shows a waiting user why no sample has come.
  virtual void explainSilence(const std::string& /*reason*/) {}
};

/// Adds the battery's current state to complete samples and power metrics.
class JsonOutput final : public Output {
 public:
  /// The power sources outlive it.
  explicit JsonOutput(PowerSources& powerSources) : powerSources_(powerSources) {}

  std::optional<Trouble> show(const Notification& notification) override;

 private:
  PowerSources& powerSources_;
};

/// Tells what becomes of the charge limit, in whole sentences.
using HoldTeller = std::function<std::string()>;

/// The latest sample and power metrics, and the battery's state when they came.
class ViewState {
 public:
  /// Asks about the limit whenever power metrics bring one. The power sources outlive it.
  ViewState(Role role, PowerSources& powerSources, HoldTeller tellHold);

  using Clock = std::chrono::steady_clock;

  const SampleView& view() const { return view_; }
  /// Returns whether there is something new to show: a sample, or power metrics while there is no sample.
  bool take(const Notification& notification, Clock::time_point now = Clock::now());
  /// Forgets the sample, since no new one has come.
  void explainSilence(const std::string& reason, Clock::time_point now = Clock::now());

 private:
  void forgetOldPower(Clock::time_point now);

  std::string_view fullSample_;
  PowerSources& powerSources_;
  HoldTeller tellHold_;
  SampleView view_;
  Clock::time_point powerTime_;
};

/// One report per sample, or per power metrics while there is no sample, with a blank line between reports.
class ReportOutput final : public Output {
 public:
  ReportOutput(Role role, PowerSources& powerSources, HoldTeller tellHold)
      : state_(role, powerSources, std::move(tellHold)) {}

  std::optional<Trouble> show(const Notification& notification) override;
  void remember(const Notification& notification) override { state_.take(notification); }

 private:
  ViewState state_;
  bool first_ = true;
};

/// Draws in place. Calls quit for the key q.
class LiveOutput final : public Output {
 public:
  LiveOutput(Role role, PowerSources& powerSources, HoldTeller tellHold, std::function<void()> quit);

  std::optional<Trouble> show(const Notification& notification) override;
  void explainSilence(const std::string& reason) override;

 private:
  std::optional<Trouble> draw() const;

  ViewState state_;
  Screen screen_;
  std::unique_ptr<Timer> resized_;
};

}  // namespace quorlin
