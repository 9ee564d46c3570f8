/// The root helper on the system bus, which starts it on the first call.
#pragma once

#include "platform/HelperService.h"
#include "platform/Log.h"
#include "platform/RunLoop.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

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

class Removal;

/// Each HelperToolConnection is a connection of its own to the system bus: the helper releases a charge when
/// the connection that holds it ends. Handlers run on the main thread. A connection is invalid once the bus
/// cannot be reached, cannot start the helper, or has lost it, and once a release was refused or is late, so
/// that its end releases the charge. Any other call that the helper refuses leaves it valid, with a line in
/// the log. Main thread only.
class BusHelperService final : public HelperService {
 public:
  /// The references outlive the service, which outlives its connections.
  BusHelperService(RunLoop& runLoop, Log& log);
  ~BusHelperService() override;

  std::unique_ptr<HelperToolConnection> makeConnection(std::string_view serviceName) override;

  /// Waits for the answers to calls of uninstallHelper, for as long as polkit gives a person to type a
  /// password: the helper forgets a caller that leaves. Nothing else happens meanwhile.
  void awaitRemovals();

 private:
  RunLoop& runLoop_;
  RefusalLog refusals_;
  /// Each with a connection of its own, which outlives the one that was asked for it.
  std::vector<std::shared_ptr<Removal>> removals_;
};

}  // namespace quorlin
