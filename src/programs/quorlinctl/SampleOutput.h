/// Samples for people: plain reports, or a live screen.
#pragma once

#include "platform/linux/RunLoop.h"
#include "quorlinctl/Consumer.h"
#include "quorlinctl/Output.h"
#include "quorlinctl/SampleView.h"
#include "quorlinctl/Terminal.h"

namespace quorlin {

/// Keeps what the notifications have brought, and the battery's state of that moment, ready to be shown.
class ViewState {
 public:
  /// The power sources outlive it.
  ViewState(Role role, PowerSources& powerSources);

  const SampleView& view() const { return view_; }
  void setSilence(const std::string& reason) { view_.silence = reason; }
  /// Whether there is a new sample to be shown.
  bool take(const Notification& notification);

 private:
  std::string_view fullSample_;
  PowerSources& powerSources_;
  SampleView view_;
};

/// One report a sample, a blank line between two.
class ReportOutput final : public Output {
 public:
  ReportOutput(Role role, PowerSources& powerSources) : state_(role, powerSources) {}

  std::error_code show(const Notification& notification) override;

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
