/// Looks for new versions of the program.
#pragma once

#include <functional>
#include <memory>

namespace quorlin {

class Updater {
 public:
  virtual ~Updater() = default;

  /// Says nothing unless there is something to install.
  virtual void checkForUpdatesInBackground() = 0;

  /// Shows its progress and its result.
  virtual void checkForUpdates() = 0;
};

using UpdaterFactory = std::function<std::unique_ptr<Updater>()>;

}  // namespace quorlin
