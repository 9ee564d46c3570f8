#include "agent/Agent.h"

#include "core/Notifications.h"
#include "engine/SensorsEngineFactory.h"
#include "platform/linux/Application.h"
#include "platform/linux/ApplicationNames.h"
#include "platform/linux/Clock.h"
#include "platform/linux/DispatchQueue.h"
#include "platform/linux/HelperService.h"
#include "platform/linux/JobBlessing.h"
#include "platform/linux/NotificationCenter.h"
#include "platform/linux/PowerSources.h"
#include "platform/linux/ProcessManager.h"
#include "platform/linux/System.h"
#include "platform/linux/SystemRoots.h"
#include "platform/linux/Task.h"
#include "platform/linux/Updater.h"
#include "platform/linux/UserDefaults.h"
#include "platform/linux/WorkflowEngine.h"
#include "platform/linux/Workspace.h"

#include <utility>

namespace quorlin {

/// In the order in which they depend on each other.
struct Agent::Parts {
  Parts(std::vector<std::string> arguments, Log& theLog)
      : log(theLog), application(bus, runLoop, log, std::string(kAgentIdentifier), std::move(arguments)) {}

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
            .sensorsEngine = makeLinuxSensorsEngine({roots.sysfs, roots.procfs}, log),
            .makeUpdater = [this] { return std::make_unique<LinuxUpdater>(log); },
            .makeConfigurationWindow = [] { return nullptr; }};
  }

  Log& log;
  LinuxRunLoop runLoop;
  Bus bus = Bus::openSession();
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
