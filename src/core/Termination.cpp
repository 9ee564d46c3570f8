/// The way out: an active charge hold is released first.
#include "core/AppDelegate.h"
#include "core/Settings.h"

namespace quorlin {

TerminateReply AppDelegate::applicationShouldTerminate() {
  if (services_.system.processorHasPowerWork() && powerLimitEnabled_) {
    limitCharge(
        [this](const std::optional<std::string>& reply) {
          setPowerLimitEnabled(false);
          logReply(reply);
          services_.userDefaults.setInteger(setting::kTerminatedPeacefully, 1);
          services_.application.terminate();
        },
        true);
    return TerminateReply::Later;
  }
  services_.userDefaults.setInteger(setting::kTerminatedPeacefully, 1);
  return TerminateReply::Now;
}

void AppDelegate::setPowerLimitEnabled(bool enabled) {
  powerLimitEnabled_ = enabled;
  services_.userDefaults.setBoolean(setting::kPowerLimitEnabled, enabled);
}

void AppDelegate::logReply(const std::optional<std::string>& reply) {
  services_.log.line(reply.value_or("(null)"));
}

}  // namespace quorlin
