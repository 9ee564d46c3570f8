/// The actions of the commands by URL.
#include "core/AppDelegate.h"

namespace quorlin {

bool AppDelegate::terminateAppByPID(std::int32_t pid) {
  // If there is no such application, there is nothing to end.
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
  if (!chargeHold_.setLimit(percent)) return;
  skipPowerMetrics_ = 0;
  updateData();
}

}  // namespace quorlin
