/// The root helper on the system bus, which starts it when it is first called.
#pragma once

#include "platform/HelperService.h"
#include "platform/Log.h"
#include "platform/RunLoop.h"

#include <set>
#include <string>

namespace quorlin {

/// Says what the helper, or the bus in its place, would not do: each reason once, since the agent asks on.
class RefusalLog {
 public:
  explicit RefusalLog(Log& log) : log_(log) {}

  void line(const std::string& text) {
    if (said_.size() < kMostReasons && said_.insert(text).second) log_.line(text);
  }

 private:
  static constexpr std::size_t kMostReasons = 100;

  Log& log_;
  std::set<std::string> said_;
};

/// A connection of its own to the system bus for each HelperToolConnection: the helper releases a charge hold
/// when the connection that asked for it is gone. Handlers run on the main thread. A connection is invalid
/// once the bus cannot be reached, cannot start the helper, or has lost it; a message that the helper refuses
/// leaves it as it is, with a line in the log. Main thread only.
class BusHelperService final : public HelperService {
 public:
  /// What is referred to outlives the service and its connections.
  BusHelperService(RunLoop& runLoop, Log& log) : runLoop_(runLoop), refusals_(log) {}

  std::unique_ptr<HelperToolConnection> makeConnection(std::string_view serviceName) override;

 private:
  RunLoop& runLoop_;
  RefusalLog refusals_;
};

}  // namespace quorlin
