/// The agent's core object: owns every long-lived object, launches, samples, publishes, ends.
#pragma once

#include "core/SamplePublisher.h"
#include "core/Services.h"
#include "helper/ChargeHold.h"
#include "helper/HelperClient.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// Main thread only, except setPowerLimitEnabled and the completions, which may run on the helper
/// connection's queue. Each completion receives the helper's reply, or nothing when the helper could not be
/// reached, exactly once; none runs once the delegate is being destroyed.
class AppDelegate final : public ApplicationDelegate {
 public:
  using Completion = HelperClient::Completion;

  explicit AppDelegate(Services services);

  // Launch and state
  void applicationWillFinishLaunching() override;
  void applicationDidFinishLaunching() override;
  TerminateReply applicationShouldTerminate() override;
  bool applicationShouldHandleReopen(const ApplicationEvent& event, bool hasVisibleWindows) override;
  void handleDockClickEvent(const ApplicationEvent& /*event*/) {}
  void openSettingsWindow();
  void QuorlinActive() { samples_.setMainAppNeedsData(true); }
  void QuorlinInactive() { samples_.setMainAppNeedsData(false); }

  bool pluginEnabled() const { return pluginEnabled_; }
  /// For this run; setAutostart also stores it.
  void setPluginEnabled(bool enabled);
  bool coreEnabled() const { return coreEnabled_; }
  std::int64_t powerLimit() const { return chargeHold_.powerLimit(); }
  bool powerLimitEnabled() const { return chargeHold_.powerLimitEnabled(); }
  void setPowerLimitEnabled(bool enabled) { chargeHold_.setPowerLimitEnabled(enabled); }
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
  /// The application's answer to the request; true if no application has that process.
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
  /// One dictionary a process in nettop's order; empty where nettop reports nothing.
  Array collectNetwork();

  // System information
  /// Sets the name of the processor, which stays empty if the profiler does not know it. Blocks until the
  /// profiler has ended.
  void askSytemInfo();
  const std::string& processorName() const { return processorName_; }

  // Battery information
  /// Two integers: a BatteryState, and the charge in percent or 0.
  std::vector<std::int32_t> getBatteryInfo();

  // The privileged helper
  /// Returns before the user has authenticated or refused; the completion runs on the main thread.
  void installHelper(std::function<void(bool installed)> completion) {
    helper_.install(std::move(completion));
  }
  void getHelperVersion(const Completion& completion) { helper_.getVersion(completion); }
  void getStatisticsData(const Completion& completion) { helper_.getCoreMetrics(currentKey(), completion); }
  /// Mode false holds the charge, true lets the battery charge again.
  void limitCharge(const Completion& completion, bool mode) {
    helper_.limitCharge(currentKey(), mode, completion);
  }
  /// Returns before the helper has answered.
  void uninstallHelper() { helper_.uninstall(currentKey()); }

  // Autostart
  /// False if the login item could not be switched. Any thread.
  bool installAutostartHelper(bool enable);
  /// The sensors plug-in's switch. False, and nothing changed, if the login item could not be switched.
  bool setAutostart(bool enable);
  /// The core helper's switch. The completion receives each outcome in its order: switching on, false alone
  /// if the helper could not be installed, and false, then true if only the login item failed. It runs on the
  /// main thread or on the helper connection's queue.
  void setCoreAutostart(bool enable, const std::function<void(bool success)>& installed);
  /// Any thread.
  void finalizeCoreAutostart(bool enable);

  /// Calls the handler after each change of a switch, the charge limit or the hold, on the thread that made
  /// it. Before launch.
  void setChangeHandler(std::function<void()> handler) { changed_ = std::move(handler); }
  /// Whether another program works the switches, as the window would: until it leaves, the agent stays even
  /// if nothing is switched on.
  void setSwitchesInUse(bool inUse);

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
  /// Whether something is switched on, or can be.
  bool hasReasonToRun() const;
  void endForLackOfWork();

  /// Switching the core helper on, once it is there.
  void addCoreLoginItem(const std::function<void(bool success)>& installed);

  bool doesPowerWork() const;
  void postHeartbeat();
  Consumers findConsumers();
  void postPowerMetrics();

  /// Computes the key again and stores it in key_; empty on a computer without a name.
  std::string currentKey();

  Services services_;

  std::string workflowFile_;
  SamplePublisher samples_;
  ChargeHold chargeHold_;
  std::int32_t skipPowerMetrics_ = 0;
  bool terminatedPeacefully_ = false;
  std::optional<std::string> key_;
  std::atomic<bool> pluginEnabled_ = false;
  std::atomic<bool> coreEnabled_ = false;
  std::function<void()> changed_ = [] {};
  bool switchesInUse_ = false;
  std::unique_ptr<ConfigurationWindow> controllerWindow_;
  std::int64_t openedWindows_ = 0;
  std::string processorName_;
  std::unique_ptr<Updater> updater_;
  std::vector<std::unique_ptr<Observation>> observations_;
  std::unique_ptr<Timer> updateTimer_;
  // Last member, destroyed first, so no completion reaches a half-destroyed delegate.
  HelperClient helper_;
};

}  // namespace quorlin
