/// The power services of a machine on which there is neither a battery to ask nor a helper to reach.
#pragma once

#include "platform/HelperService.h"
#include "platform/PowerSources.h"
#include "platform/RunLoop.h"

namespace quorlin {

class NoPowerSources final : public PowerSources {
 public:
  std::optional<PowerSourceList> copyPowerSources() override { return std::nullopt; }
  double timeRemainingEstimate() override { return kTimeRemainingUnknown; }
};

/// Every message fails, and the connection with it.
class UnreachableHelperService final : public HelperService {
 public:
  explicit UnreachableHelperService(RunLoop& runLoop) : runLoop_(runLoop) {}

  std::unique_ptr<HelperToolConnection> makeConnection() override;

 private:
  RunLoop& runLoop_;
};

}  // namespace quorlin
