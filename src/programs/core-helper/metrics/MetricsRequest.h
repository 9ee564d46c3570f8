/// The parameters of GetCoreMetrics.
#pragma once

#include "platform/values/Result.h"

#include <chrono>
#include <span>
#include <string>

namespace quorlin {

/// What to measure, and over how long.
struct MetricsRequest {
  bool processorPower = false;
  bool graphicsPower = false;
  bool neuralEnginePower = false;
  bool thermal = false;
  std::chrono::milliseconds interval{0};

  /// Measures also what the other request wants.
  void include(const MetricsRequest& other) {
    processorPower = processorPower || other.processorPower;
    graphicsPower = graphicsPower || other.graphicsPower;
    neuralEnginePower = neuralEnginePower || other.neuralEnginePower;
    thermal = thermal || other.thermal;
  }

  friend bool operator==(const MetricsRequest&, const MetricsRequest&) = default;
};

/// Understands "--samplers LIST -i MILLISECONDS" in either order, each once: a list of cpu_power, gpu_power,
/// ane_power and thermal separated by commas, and 500 to 10000 ms. The trouble names the parameter that is
/// wrong.
Result<MetricsRequest> parseMetricsParameters(std::span<const std::string> parameters);

}  // namespace quorlin
