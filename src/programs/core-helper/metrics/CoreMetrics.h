/// Power and thermal metrics between two moments, from the kernel's counters.
#pragma once

#include "programs/core-helper/metrics/EnergyCounters.h"
#include "programs/core-helper/metrics/MetricsRequest.h"
#include "programs/core-helper/metrics/ThrottleCounters.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace quorlin {

/// The counters at one moment.
struct PowerCounters {
  std::chrono::steady_clock::time_point time;
  std::vector<EnergyCounter> processor;
  std::vector<EnergyCounter> graphics;
  std::vector<ThrottleCounter> throttling;
};

PowerCounters readPowerCounters(const std::filesystem::path& sysfsRoot, const MetricsRequest& request);

/// A line "Name: value unit" for each requested metric that this computer has, each with its line end.
std::string metricsText(const PowerCounters& before, const PowerCounters& after,
                        const MetricsRequest& request);

}  // namespace quorlin
