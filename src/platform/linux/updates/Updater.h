/// Updates of an installation without its own feed: the package manager brings them.
#pragma once

#include "platform/Log.h"
#include "platform/Updater.h"

namespace quorlin {

class LinuxUpdater final : public Updater {
 public:
  explicit LinuxUpdater(Log& log) : log_(log) {}

  void checkForUpdatesInBackground() override {}
  void checkForUpdates() override { log_.line("No update feed is configured"); }

 private:
  Log& log_;
};

}  // namespace quorlin
