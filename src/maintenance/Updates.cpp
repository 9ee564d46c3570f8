/// When to look for a new version; how is the updater's business.
#include "core/AppDelegate.h"
#include "core/Settings.h"

namespace quorlin {

void AppDelegate::checkForUpdates(bool background) {
  services_.userDefaults.setDate(setting::kLastUpdateCheck, services_.clock.now());
  if (!updater_) updater_ = services_.makeUpdater();
  if (background) {
    updater_->checkForUpdatesInBackground();
  } else {
    updater_->checkForUpdates();
  }
}

}  // namespace quorlin
