/// The agent, put together: the one place that knows both the behaviour and the system.
#pragma once

#include "core/AppDelegate.h"
#include "core/Notifications.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/desktop/Application.h"
#include "platform/linux/desktop/ApplicationNames.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/LoginItems.h"
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
#include "platform/linux/system/Clock.h"
#include "platform/linux/system/System.h"
#include "platform/linux/system/SystemRoots.h"
#include "programs/agent/SettingsInterface.h"

#include <string>
#include <utility>
#include <vector>

namespace quorlin {

class Agent {
 public:
  /// Connects to the session bus; the program's own name is the first argument. Throws BusError. The log
  /// outlives the agent.
  Agent(std::vector<std::string> arguments, Log& log)
      : log_(log),
        application_(bus_, busSource_, runLoop_, log, std::string(kAgentIdentifier), std::move(arguments)) {}

  /// False if another agent runs in this session; that one has then received the request. Throws BusError.
  bool becomeOnlyInstance() { return application_.becomeOnlyInstance(); }

  /// Returns when the agent has ended.
  void run() {
    application_.run(delegate_);
    helperService_.awaitRemovals();
  }

  AppDelegate& delegate() { return delegate_; }

 private:
  Services services();

  /// Why a switch could not be switched just now.
  std::string takeTrouble() {
    std::string trouble = jobBlessing_.takeTrouble();
    return trouble.empty() ? loginItems_.takeTrouble() : trouble;
  }

  // In the order in which they depend on each other.
  Log& log_;
  LinuxRunLoop runLoop_;
  Bus bus_ = Bus::openSession();
  BusSource busSource_{bus_};
  BusApplication application_;
  SystemRoots roots_ = systemRootsFromEnvironment();
  ApplicationNames applicationNames_{bus_};
  KeyFileUserDefaults userDefaults_{settingsFile(), log_};
  BusNotificationCenter notificationCenter_{bus_};
  LinuxWorkspace workspace_{bus_, applicationNames_, roots_.procfs, log_};
  ProcfsProcessManager processManager_{roots_.procfs, applicationNames_.names()};
  LinuxSystem system_;
  LinuxTaskLauncher taskLauncher_;
  LinuxDispatchQueue dispatchQueue_;
  LinuxWorkflowEngine workflowEngine_{log_};
  SysfsPowerSources powerSources_{roots_.sysfs};
  BusHelperService helperService_{runLoop_, log_};
  LinuxJobBlessing jobBlessing_{runLoop_, log_};
  LinuxClock clock_;
  XdgLoginItems loginItems_{kLauncherIdentifier, "quorlin-sensors-launcher", log_};
  AppDelegate delegate_{services()};
  SettingsInterface settings_{
      {.bus = bus_,
       .runLoop = runLoop_,
       .delegate = delegate_,
       .takeTrouble = [this] { return takeTrouble(); },
       .startsAtLogin = [] { return !whyNotStarted(autostartEntry(kLauncherIdentifier)); }}};
};

}  // namespace quorlin
