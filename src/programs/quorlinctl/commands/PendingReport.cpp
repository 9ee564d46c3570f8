#include "programs/quorlinctl/commands/PendingReport.h"

#include "core/Notifications.h"
#include "platform/values/Tick.h"

#include <utility>

namespace quorlin {
namespace {

constexpr std::chrono::milliseconds kPatienceForFirst = 5 * kTick;

constexpr auto kPatienceForRest = kPowerPeriod;

}  // namespace

PendingReport::PendingReport(RunLoop& loop, const Expectation& expected, std::function<void()> ended)
    : loop_(loop),
      expected_(expected),
      ended_(std::move(ended)),
      patience_(loop.scheduleTimer(expected.timeout.value_or(kPatienceForFirst), ended_)) {}

void PendingReport::take(const Notification& notification) {
  const RoleNotifications names = notificationsOf(expected_.role);
  const bool isFirst = !sample_ && !power_;
  if (notification.name == names.fullSample) {
    sample_ = notification;
  } else if (notification.name == notification::kCoreData) {
    power_ = notification;
  } else {
    // The agent sends heartbeats while its sensors are on, whatever the settings say by now.
    expected_.sample = expected_.sample || notification.name == names.heartbeat;
    return;
  }
  if ((sample_ || !expected_.sample) && (power_ || !expected_.power)) return ended_();
  if (isFirst && !expected_.timeout) patience_ = loop_.scheduleTimer(kPatienceForRest, ended_);
}

}  // namespace quorlin
