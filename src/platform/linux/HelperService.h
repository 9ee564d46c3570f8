/// The root helper on the system bus, which starts it when it is first called.
#pragma once

#include "platform/HelperService.h"
#include "platform/Log.h"
#include "platform/RunLoop.h"

namespace quorlin {

/// A connection of its own to the system bus for each HelperToolConnection: the helper releases a charge hold
/// when the connection that asked for it is gone. Handlers run on the main thread. A connection is invalid
/// once the bus cannot be reached, cannot start the helper, or has lost it; a message that the helper refuses
/// leaves it as it is, with a line in the log. Main thread only.
class BusHelperService final : public HelperService {
 public:
  /// What is referred to outlives the service and its connections.
  BusHelperService(RunLoop& runLoop, Log& log) : runLoop_(runLoop), log_(log) {}

  std::unique_ptr<HelperToolConnection> makeConnection(std::string_view serviceName) override;

 private:
  RunLoop& runLoop_;
  Log& log_;
};

}  // namespace quorlin
