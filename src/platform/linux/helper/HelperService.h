/// The root helper on the system bus, which starts it on the first call.
#pragma once

#include "platform/HelperService.h"
#include "platform/Log.h"
#include "platform/RunLoop.h"

#include <set>
#include <string>

namespace quorlin {

/// Logs each reason of the helper, or of the bus in its place, once: the agent repeats its calls.
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

/// Each HelperToolConnection is a connection of its own to the system bus: the helper releases a charge when
/// the connection that holds it ends. Handlers run on the main thread. A connection is invalid once the bus
/// cannot be reached, cannot start the helper, or has lost it. A call that the helper refuses leaves it
/// valid, with a line in the log. Main thread only.
class BusHelperService final : public HelperService {
 public:
  /// The references outlive the service and its connections.
  BusHelperService(RunLoop& runLoop, Log& log) : runLoop_(runLoop), refusals_(log) {}

  std::unique_ptr<HelperToolConnection> makeConnection(std::string_view serviceName) override;

 private:
  RunLoop& runLoop_;
  RefusalLog refusals_;
};

}  // namespace quorlin
