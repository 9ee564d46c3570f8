/// The services that the agent uses.
#pragma once

#include "platform/Application.h"
#include "platform/Clock.h"
#include "platform/ConfigurationWindow.h"
#include "platform/DispatchQueue.h"
#include "platform/HelperService.h"
#include "platform/JobBlessing.h"
#include "platform/Log.h"
#include "platform/LoginItems.h"
#include "platform/NotificationCenter.h"
#include "platform/PowerSources.h"
#include "platform/ProcessManager.h"
#include "platform/RunLoop.h"
#include "platform/SensorsEngine.h"
#include "platform/System.h"
#include "platform/Task.h"
#include "platform/Updater.h"
#include "platform/UserDefaults.h"
#include "platform/WorkflowEngine.h"
#include "platform/Workspace.h"

namespace quorlin {

/// The services that the agent needs from a system. They outlive the delegate.
struct Services {
  Application& application;
  RunLoop& runLoop;
  UserDefaults& userDefaults;
  NotificationCenter& notificationCenter;
  Workspace& workspace;
  ProcessManager& processManager;
  System& system;
  TaskLauncher& taskLauncher;
  DispatchQueue& dispatchQueue;
  WorkflowEngine& workflowEngine;
  PowerSources& powerSources;
  HelperService& helperService;
  JobBlessing& jobBlessing;
  LoginItems& loginItems;
  Clock& clock;
  Log& log;
  SensorsEngineFactory sensorsEngine;
  UpdaterFactory makeUpdater;
  ConfigurationWindowFactory makeConfigurationWindow;
};

}  // namespace quorlin
