/// The two switches that keep the agent running, and the login item that starts it.
#include "core/AppDelegate.h"
#include "core/Notifications.h"
#include "core/Settings.h"

#include <utility>

namespace quorlin {
namespace {

void store(UserDefaults& defaults, std::string_view setting, bool enable) {
  defaults.setInteger(setting, enable ? 1 : 0);
  defaults.synchronize();
}

}  // namespace

bool AppDelegate::installAutostartHelper(bool enable) {
  return services_.loginItems.setEnabled(kLauncherIdentifier, enable);
}

void AppDelegate::setPluginEnabled(bool enabled) {
  pluginEnabled_ = enabled;
  changed_();
}

bool AppDelegate::setAutostart(bool enable) {
  // The login item stays for the core helper.
  if (!installAutostartHelper(enable || coreEnabled_)) return false;
  setPluginEnabled(enable);
  store(services_.userDefaults, setting::kAutostart, enable);
  return true;
}

void AppDelegate::setCoreAutostart(bool enable, const std::function<void(bool success)>& installed) {
  if (!enable) {
    chargeHold_.release();
    finalizeCoreAutostart(false);
    return installed(true);
  }
  getHelperVersion([this, installed](const std::optional<std::string>& version) {
    if (version) return addCoreLoginItem(installed);
    // Only the main thread may bless; it goes on while the user types a password.
    services_.runLoop.performOnMainThread([this, installed] {
      installHelper([this, installed](bool isInstalled) {
        isInstalled ? addCoreLoginItem(installed) : installed(false);
      });
    });
  });
}

void AppDelegate::addCoreLoginItem(const std::function<void(bool success)>& installed) {
  if (!installAutostartHelper(true)) installed(false);
  finalizeCoreAutostart(true);
  installed(true);
}

void AppDelegate::finalizeCoreAutostart(bool enable) {
  coreEnabled_ = enable;
  store(services_.userDefaults, setting::kCoreAutostart, enable);
  changed_();
}

void AppDelegate::setSwitchesInUse(bool inUse) {
  if (std::exchange(switchesInUse_, inUse) && !hasReasonToRun()) endForLackOfWork();
}

}  // namespace quorlin
