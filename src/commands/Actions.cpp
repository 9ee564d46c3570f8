/// What the commands by URL do.
#include "commands/UrlScheme.h"
#include "core/AppDelegate.h"
#include "core/Settings.h"

namespace quorlin {

bool AppDelegate::terminateAppByPID(std::int32_t pid) {
  // An application that is not there needs no ending.
  return services_.workspace.terminateApplication(pid).value_or(true);
}

bool AppDelegate::forceTerminateAppByPID(std::int32_t pid) {
  return services_.workspace.forceTerminateApplication(pid).value_or(true);
}

void AppDelegate::runTerminal(const std::string& command) {
  services_.dispatchQueue.async([&launcher = services_.taskLauncher, command] {
    launcher.launch("/bin/sh", {"-c", command});
  });
}

bool AppDelegate::runWorkflow(const std::string& path) {
  services_.workflowEngine.runWorkflow(path);
  return true;
}

void AppDelegate::setBatteryLimit(std::int64_t percent) {
  // The sampling loop also honours 50, which only the settings can hold.
  if (percent < kLowestBatteryLimit || percent > kHighestBatteryLimit) return;
  powerLimit_ = percent;
  services_.userDefaults.setInteger(setting::kBatteryLimit, percent);
  if (percent == kHighestBatteryLimit) limitChargeThenRecord(true);
  skipPowerMetrics_ = 0;
  updateData();
}

}  // namespace quorlin
