/// The way out: an active charge hold is released first.
#include "core/AppDelegate.h"
#include "core/Settings.h"

namespace quorlin {

TerminateReply AppDelegate::applicationShouldTerminate() {
  const auto recordPeacefulEnd = [this] {
    services_.userDefaults.setInteger(setting::kTerminatedPeacefully, 1);
  };
  if (services_.system.processorHasPowerWork() && powerLimitEnabled()) {
    chargeHold_.releaseFinallyThen([this, recordPeacefulEnd] {
      recordPeacefulEnd();
      services_.application.terminate();
    });
    return TerminateReply::Later;
  }
  recordPeacefulEnd();
  return TerminateReply::Now;
}

}  // namespace quorlin
