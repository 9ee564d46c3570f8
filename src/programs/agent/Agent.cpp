#include "programs/agent/Agent.h"

#include "core/Notifications.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/desktop/Application.h"
#include "platform/linux/desktop/ApplicationNames.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "platform/linux/desktop/WorkflowEngine.h"
#include "platform/linux/desktop/Workspace.h"
#include "platform/linux/helper/HelperService.h"
#include "platform/linux/helper/JobBlessing.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/DispatchQueue.h"
#include "platform/linux/power/PowerSources.h"
#include "platform/linux/processes/ProcessManager.h"
#include "platform/linux/processes/Task.h"
#include "platform/linux/sensors/SensorsEngineFactory.h"
#include "platform/linux/system/Clock.h"
#include "platform/linux/system/System.h"
#include "platform/linux/system/SystemRoots.h"
#include "platform/linux/updates/Updater.h"

#include <utility>

namespace quorlin {

/// In the order in which they depend on each other.
struct Agent::Parts {
  Parts(std::vector<std::string> arguments, Log& theLog)
      : log(theLog),
        application(bus, busSource, runLoop, log, std::string(kAgentIdentifier), std::move(arguments)) {}

  Services services() {
    return {.application = application,
            .runLoop = runLoop,
            .userDefaults = userDefaults,
            .notificationCenter = notificationCenter,
            .workspace = workspace,
            .processManager = processManager,
            .system = system,
            .taskLauncher = taskLauncher,
            .dispatchQueue = dispatchQueue,
            .workflowEngine = workflowEngine,
            .powerSources = powerSources,
            .helperService = helperService,
            .jobBlessing = jobBlessing,
            .clock = clock,
            .log = log,
            .sensorsEngine = makeLinuxSensorsEngine(roots, log),
            .makeUpdater = [this] { return std::make_unique<LinuxUpdater>(log); },
            .makeConfigurationWindow = {}};
  }

  Log& log;
  LinuxRunLoop runLoop;
  Bus bus = Bus::openSession();
  BusSource busSource{bus};
  BusApplication application;
  SystemRoots roots = systemRootsFromEnvironment();
  ApplicationNames applicationNames{bus};
  KeyFileUserDefaults userDefaults{settingsFile(), log};
  BusNotificationCenter notificationCenter{bus};
  LinuxWorkspace workspace{bus, applicationNames, roots.procfs, log};
  ProcfsProcessManager processManager{roots.procfs, applicationNames.names()};
  LinuxSystem system;
  LinuxTaskLauncher taskLauncher;
  LinuxDispatchQueue dispatchQueue;
  LinuxWorkflowEngine workflowEngine{log};
  SysfsPowerSources powerSources{roots.sysfs};
  BusHelperService helperService{runLoop, log};
  LinuxJobBlessing jobBlessing;
  LinuxClock clock;
  AppDelegate delegate{services()};
};

Agent::Agent(std::vector<std::string> arguments, Log& log)
    : parts_(std::make_unique<Parts>(std::move(arguments), log)) {}

Agent::~Agent() = default;

bool Agent::becomeOnlyInstance() { return parts_->application.becomeOnlyInstance(); }

void Agent::run() { parts_->application.run(parts_->delegate); }

AppDelegate& Agent::delegate() { return parts_->delegate; }

}  // namespace quorlin
