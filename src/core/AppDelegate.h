/// The agent's core object: owns every long-lived object, launches, samples, publishes, ends.
#pragma once

#include "core/SensorsEngine.h"
#include "platform/Application.h"
#include "platform/Clock.h"
#include "platform/ConfigurationWindow.h"
#include "platform/DispatchQueue.h"
#include "platform/HelperService.h"
#include "platform/JobBlessing.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "platform/PowerSources.h"
#include "platform/ProcessManager.h"
#include "platform/RunLoop.h"
#include "platform/System.h"
#include "platform/Task.h"
#include "platform/Updater.h"
#include "platform/UserDefaults.h"
#include "platform/WorkflowEngine.h"
#include "platform/Workspace.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// What the agent asks of a system. Everything referred to outlives the delegate.
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
  Clock& clock;
  Log& log;
  SensorsEngineFactory sensorsEngine;
  UpdaterFactory makeUpdater;
  ConfigurationWindowFactory makeConfigurationWindow;
};

/// Main thread only, but for setPowerLimitEnabled and for the completions, which may run on the helper
/// connection's queue. Each completion receives the helper's reply, or nothing when the helper could not be
/// reached, exactly once; none runs once the delegate is being destroyed.
class AppDelegate final : public ApplicationDelegate {
 public:
  using Completion = std::function<void(std::optional<std::string>)>;

  explicit AppDelegate(Services services);
  ~AppDelegate() override;
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  // Launch and state
  void applicationWillFinishLaunching() override;
  void applicationDidFinishLaunching() override;
  TerminateReply applicationShouldTerminate() override;
  bool applicationShouldHandleReopen(const ApplicationEvent& event, bool hasVisibleWindows) override;
  void handleDockClickEvent(const ApplicationEvent& event);
  void openSettingsWindow();
  void QuorlinActive();
  void QuorlinInactive();

  bool pluginEnabled() const { return pluginEnabled_; }
  bool coreEnabled() const { return coreEnabled_; }
  bool powerLimitEnabled() const { return powerLimitEnabled_; }
  void setPowerLimitEnabled(bool enabled);
  bool terminatedPeacefully() const { return terminatedPeacefully_; }
  std::int64_t openedWindows() const { return openedWindows_; }

  // Sampling loop
  void updateData();

  // Process list and CPU
  /// One entry a process in the system's order; "(null)" for one that belongs to no application.
  std::vector<std::string> getCarbonProcessList();
  /// Percent of one core as ps prints it; 0 when ps could not be started or printed no number, -1 when its
  /// output could not be read. Blocks until ps has ended.
  float askSystemPS(std::int32_t pid);

  // Commands by URL
  std::optional<std::string> getKey() const;
  void handleURLEvent(const std::string& url);
  /// What the application answered to the request; true when no application has that process.
  bool terminateAppByPID(std::int32_t pid);
  bool forceTerminateAppByPID(std::int32_t pid);
  /// Returns before the command has started.
  void runTerminal(const std::string& command);
  /// Returns when the workflow has ended. Always true.
  bool runWorkflow(const std::string& path);
  /// Takes 51 to 100 and no other value.
  void setBatteryLimit(std::int64_t percent);

  // Network applications
  /// Posts what collectNetwork returns. Blocks until nettop has ended.
  void getNetworkApps();
  /// One dictionary a process in nettop's order; empty where nettop tells nothing.
  Array collectNetwork();

  // System information
  /// Sets the name of the processor, which stays empty where the profiler does not know it. Blocks until the
  /// profiler has ended.
  void askSytemInfo();
  const std::string& processorName() const { return processorName_; }

  // Battery information
  /// Two integers: a BatteryState, and the charge in percent or 0.
  std::vector<std::int32_t> getBatteryInfo();

  // The privileged helper
  bool installHelper();
  void getHelperVersion(Completion completion);
  void getStatisticsData(Completion completion);
  /// Mode false holds the charge, true lets the battery charge again.
  void limitCharge(Completion completion, bool mode);
  /// Is not told whether the helper went.
  void uninstallHelper();

  // Updates
  void checkForUpdates(bool background);

 private:
  struct Consumers {
    bool mainApp = false;
    bool widget = false;
  };

  void readSettings();
  void startPowerWork();
  bool isLaunchedSilently() const;
  bool isLauncherRunning() const;
  void addObservers();
  void checkForUpdatesIfDue();

  bool doesPowerWork() const;
  void postHeartbeat();
  Consumers findConsumers();
  void doPowerWork();
  void limitChargeThenRecord(bool mode);
  void postPowerMetrics();
  void postSamples(bool widgetRuns);
  void releaseChargeWithoutConsumers();
  void logReply(const std::optional<std::string>& reply);

  HelperToolConnection::StringReply replyTo(const Completion& completion) const;
  HelperToolConnection::ErrorHandler failureTo(const Completion& completion) const;
  void connectToHelperTool();
  void connectAndExecuteCommandBlock(const std::function<void(HelperToolConnection&)>& command);

  Services services_;

  bool mainAppNeedsData_ = false;
  std::string workflowFile_;
  std::unique_ptr<StatisticsData> statsData_;
  std::unique_ptr<QuorlinSensorsEngine> se_;
  std::atomic<std::int64_t> powerLimit_ = 0;
  std::atomic<bool> powerLimitEnabled_ = false;
  std::int32_t skipPowerMetrics_ = 0;
  std::int32_t macHasBattery_ = 0;
  bool terminatedPeacefully_ = false;
  std::optional<std::string> key_;
  std::atomic<bool> pluginEnabled_ = false;
  std::atomic<bool> coreEnabled_ = false;
  std::unique_ptr<ConfigurationWindow> controllerWindow_;
  std::int64_t openedWindows_ = 0;
  std::unique_ptr<Authorization> authRef_;
  std::optional<Data> authorization_;
  std::string processorName_;
  std::unique_ptr<HelperToolConnection> helperToolConnection_;
  std::unique_ptr<Updater> updater_;
  std::vector<std::unique_ptr<Observation>> observations_;
  std::unique_ptr<Timer> updateTimer_;
  // The last, so that it goes first: the connection's end completes no call of a delegate that ends.
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quorlin
