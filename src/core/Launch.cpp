/// The launch sequence.
#include "commands/UrlScheme.h"
#include "core/AppDelegate.h"
#include "core/Notifications.h"
#include "core/Settings.h"
#include "platform/values/Tick.h"

#include <algorithm>
#include <utility>

namespace quorlin {
namespace {

constexpr std::chrono::hours kUpdateCheckInterval{48};
constexpr SystemVersion kFirstWithPowerWork{.major = 13, .minor = 0};

}  // namespace

AppDelegate::AppDelegate(Services services)
    : services_(std::move(services)),
      samples_(services_.sensorsEngine, services_.notificationCenter),
      chargeHold_(
          services_.userDefaults, services_.powerSources, services_.log,
          [this](const ChargeHold::Reply& reply, bool mode) { limitCharge(reply, mode); },
          [this] { changed_(); }),
      helper_(services_.helperService, services_.jobBlessing, services_.runLoop, services_.log) {}

void AppDelegate::applicationWillFinishLaunching() {
  services_.application.setUrlHandler([this](const std::string& url) { handleURLEvent(url); });
  services_.workspace.setDefaultHandlerForUrlScheme(kUrlScheme, services_.application.bundleIdentifier());
}

void AppDelegate::applicationDidFinishLaunching() {
  key_ = getKey();
  readSettings();
  if (doesPowerWork()) startPowerWork();
  samples_.start();
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
  updateTimer_ = services_.runLoop.scheduleTimer(kTick, [this] { updateData(); });
  updateData();

  if (hasReasonToRun()) return checkForUpdatesIfDue();
  // The call for which the system has started the agent comes next, and may switch something on.
  services_.runLoop.performOnMainThread([this] {
    if (hasReasonToRun()) return checkForUpdatesIfDue();
    endForLackOfWork();
  });
}

bool AppDelegate::hasReasonToRun() const {
  return pluginEnabled_ || coreEnabled_ || controllerWindow_ || switchesInUse_;
}

void AppDelegate::endForLackOfWork() {
  services_.log.line(
      "The agent ends because everything is switched off. To switch the sensors on: quorlinctl enable");
  services_.application.terminate();
}

void AppDelegate::readSettings() {
  UserDefaults& defaults = services_.userDefaults;
  pluginEnabled_ = defaults.integer(setting::kAutostart) > 0;
  coreEnabled_ = defaults.integer(setting::kCoreAutostart) > 0;
  if (defaults.integer(setting::kTerminatedPeacefully) > 0) terminatedPeacefully_ = true;
  if (terminatedPeacefully_) defaults.remove(setting::kTerminatedPeacefully);
  chargeHold_.readSettings();
  changed_();
}

bool AppDelegate::doesPowerWork() const {
  return services_.system.processorHasPowerWork() &&
         services_.system.version().isAtLeast(kFirstWithPowerWork);
}

void AppDelegate::startPowerWork() {
  helper_.createAuthorization();
  chargeHold_.start();
  getHelperVersion([this](const std::optional<std::string>& version) {
    services_.runLoop.performOnMainThread([this, installed = version.has_value()] {
      if (installed) {
        services_.log.line("Core helper is installed");
        return;
      }
      coreEnabled_ = false;
      changed_();
      if (controllerWindow_) controllerWindow_->uncheckCoreSwitch();
    });
  });
}

bool AppDelegate::isLaunchedSilently() const {
  return std::ranges::count(services_.application.arguments(), kSilentArgument) > 0;
}

bool AppDelegate::isLauncherRunning() const {
  return std::ranges::count(services_.workspace.runningApplications(), kLauncherIdentifier,
                            &RunningApplication::bundleIdentifier) > 0;
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

void AppDelegate::checkForUpdatesIfDue() {
  const std::optional<Date> last = services_.userDefaults.date(setting::kLastUpdateCheck);
  if (!last || services_.clock.now() - *last > kUpdateCheckInterval) checkForUpdates(true);
}

}  // namespace quorlin
