/// quorlinctl watch: shows samples as they come.
#pragma once

#include <chrono>
#include <optional>

namespace quorlin {

struct WatchOptions {
  bool once = false;
  bool json = false;
  bool widget = false;
  /// How long once waits for a whole report; nothing for the default patience with each part.
  std::optional<std::chrono::milliseconds> timeout;
};

/// Returns the process's exit status, after a signal or once there is nothing more to show.
int watch(const WatchOptions& options);

}  // namespace quorlin
