/// What a caller of GetCoreMetrics asks for.
#pragma once

#include <chrono>
#include <span>
#include <string>
#include <variant>

namespace quorlin {

/// What to measure, and over how long.
struct MetricsRequest {
  bool processorPower = false;
  bool graphicsPower = false;
  bool neuralEnginePower = false;
  bool thermal = false;
  std::chrono::milliseconds interval{0};

  friend bool operator==(const MetricsRequest&, const MetricsRequest&) = default;
};

/// Understands "--samplers LIST -i MILLISECONDS" in either order, each once: a list of cpu_power, gpu_power,
/// ane_power and thermal separated by commas, and 500 to 10000 ms. All else is refused with a sentence that
/// says why.
std::variant<MetricsRequest, std::string> parseMetricsParameters(std::span<const std::string> parameters);

}  // namespace quorlin
