/// The launch sequence.
#include "commands/UrlScheme.h"
#include "core/AppDelegate.h"
#include "core/Notifications.h"
#include "core/Settings.h"

#include <algorithm>

namespace quorlin {
namespace {

constexpr std::chrono::milliseconds kSamplingInterval{3000};
constexpr std::chrono::seconds kUpdateCheckInterval{172800};
constexpr SystemVersion kFirstWithPowerWork{.major = 13, .minor = 0};

}  // namespace

AppDelegate::AppDelegate(Services services) : services_(std::move(services)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationWillFinishLaunching() {
  services_.application.setUrlHandler([this](const std::string& url) { handleURLEvent(url); });
  services_.workspace.setDefaultHandlerForUrlScheme(kUrlScheme, services_.application.bundleIdentifier());
}

void AppDelegate::applicationDidFinishLaunching() {
  key_ = getKey();
  readSettings();
  if (doesPowerWork()) startPowerWork();
  statsData_ = services_.sensorsEngine.makeStatisticsData();
  se_ = services_.sensorsEngine.makeEngine();
  workflowFile_.clear();
  openedWindows_ = 0;

  const bool silent = isLauncherRunning() || isLaunchedSilently();
  if (silent) {
    services_.notificationCenter.post(notification::kTerminateLauncher,
                                      services_.application.bundleIdentifier(), {}, Delivery::Default);
  } else {
    openSettingsWindow();
  }

  addObservers();
  updateTimer_ = services_.runLoop.scheduleTimer(kSamplingInterval, [this] { updateData(); });
  updateData();

  // A silent start with nothing enabled has nothing to do.
  if (silent && !pluginEnabled_ && !coreEnabled_) services_.application.terminate();

  checkForUpdatesIfDue();
}

void AppDelegate::readSettings() {
  UserDefaults& defaults = services_.userDefaults;
  pluginEnabled_ = defaults.integer(setting::kAutostart) > 0;
  coreEnabled_ = defaults.integer(setting::kCoreAutostart) > 0;
  if (defaults.integer(setting::kTerminatedPeacefully) > 0) terminatedPeacefully_ = true;
  if (terminatedPeacefully_) defaults.remove(setting::kTerminatedPeacefully);
  powerLimitEnabled_ = defaults.boolean(setting::kPowerLimitEnabled);
}

bool AppDelegate::doesPowerWork() const {
  return services_.system.processorHasPowerWork() &&
         services_.system.version().isAtLeast(kFirstWithPowerWork);
}

void AppDelegate::startPowerWork() {
  authRef_ = services_.jobBlessing.createAuthorization();
  if (authRef_) authorization_ = authRef_->externalForm();

  const std::int64_t limit = services_.userDefaults.integer(setting::kBatteryLimit);
  powerLimit_ = limit >= 1 ? limit : kHighestBatteryLimit;

  const std::vector<std::int32_t> battery = getBatteryInfo();
  if (battery.size() == 2) macHasBattery_ = battery[0];

  getHelperVersion([this](const std::optional<std::string>& version) {
    services_.runLoop.performOnMainThread([this, installed = version.has_value()] {
      if (installed) {
        services_.log.line("Core helper is installed");
        return;
      }
      coreEnabled_ = false;
      if (controllerWindow_) controllerWindow_->uncheckCoreSwitch();
    });
  });
}

bool AppDelegate::isLaunchedSilently() const {
  return std::ranges::find(services_.application.arguments(), "-silent") !=
         services_.application.arguments().end();
}

bool AppDelegate::isLauncherRunning() const {
  return std::ranges::any_of(
      services_.workspace.runningApplications(),
      [](const RunningApplication& running) { return running.bundleIdentifier == kLauncherIdentifier; });
}

void AppDelegate::addObservers() {
  NotificationCenter& center = services_.notificationCenter;
  observations_.push_back(
      center.addObserver(notification::kMainAppActive, [this](const Notification&) { QuorlinActive(); }));
  observations_.push_back(
      center.addObserver(notification::kMainAppInactive, [this](const Notification&) { QuorlinInactive(); }));
  observations_.push_back(
      center.addObserver(notification::kGetNetworkApp, [this](const Notification&) { getNetworkApps(); }));
}

void AppDelegate::QuorlinActive() { mainAppNeedsData_ = true; }

void AppDelegate::QuorlinInactive() { mainAppNeedsData_ = false; }

void AppDelegate::checkForUpdatesIfDue() {
  const std::optional<Date> last = services_.userDefaults.date(setting::kLastUpdateCheck);
  if (!last || services_.clock.now() - *last > kUpdateCheckInterval) checkForUpdates(true);
}

}  // namespace quorlin
