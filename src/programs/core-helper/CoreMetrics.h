/// Power and thermal metrics between two moments, from the kernel's counters.
#pragma once

#include "core-helper/EnergyCounters.h"
#include "core-helper/MetricsRequest.h"
#include "core-helper/ThrottleCounters.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace quorlin {

/// The counters of one moment, and when that was.
struct PowerCounters {
  std::chrono::steady_clock::time_point time;
  std::vector<EnergyCounter> processor;
  std::vector<GraphicsCounter> graphics;
  std::vector<ThrottleCounter> throttling;
};

PowerCounters readPowerCounters(const std::filesystem::path& sysfsRoot, const MetricsRequest& request);

/// One "Name: value unit" a line for what was asked and is there, each with its line end; empty when nothing
/// is.
std::string metricsText(const PowerCounters& before, const PowerCounters& after,
                        const MetricsRequest& request);

}  // namespace quorlin
