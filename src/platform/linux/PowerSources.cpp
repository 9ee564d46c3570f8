#include "platform/linux/PowerSources.h"

namespace quorlin {

std::optional<PowerSourceList> SysfsPowerSources::copyPowerSources() { return std::nullopt; }

double SysfsPowerSources::timeRemainingEstimate() { return kTimeRemainingUnknown; }

}  // namespace quorlin
