#include "programs/agent/Agent.h"

#include "platform/linux/sensors/SensorsEngineFactory.h"
#include "platform/linux/updates/Updater.h"

#include <memory>

namespace quorlin {

Services Agent::services() {
  return {.application = application_,
          .runLoop = runLoop_,
          .userDefaults = userDefaults_,
          .notificationCenter = notificationCenter_,
          .workspace = workspace_,
          .processManager = processManager_,
          .system = system_,
          .taskLauncher = taskLauncher_,
          .dispatchQueue = dispatchQueue_,
          .workflowEngine = workflowEngine_,
          .powerSources = powerSources_,
          .helperService = helperService_,
          .jobBlessing = jobBlessing_,
          .loginItems = loginItems_,
          .clock = clock_,
          .log = log_,
          .sensorsEngine = makeLinuxSensorsEngine(roots_, log_),
          .makeUpdater = [this] { return std::make_unique<LinuxUpdater>(log_); },
          .makeConfigurationWindow = {}};
}

}  // namespace quorlin
