/// Power and thermal metrics between two moments, from the kernel's counters.
#pragma once

#include "core-helper/MetricsRequest.h"

#include <filesystem>
#include <string>

namespace quorlin {

/// The counters of one moment, and when that was.
struct PowerCounters {};

PowerCounters readPowerCounters(const std::filesystem::path& sysfsRoot, const MetricsRequest& request);

/// One "Name: value unit" a line for what was asked and is there.
std::string metricsText(const PowerCounters& before, const PowerCounters& after,
                        const MetricsRequest& request);

}  // namespace quorlin
