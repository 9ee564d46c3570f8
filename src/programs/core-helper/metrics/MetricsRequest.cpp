#include "programs/core-helper/metrics/MetricsRequest.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Sentence.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace quorlin {
namespace {

constexpr unsigned kShortestInterval = 500;
constexpr unsigned kLongestInterval = 10'000;

struct Sampler {
  std::string_view name;
  bool MetricsRequest::*wanted;
};
constexpr std::array<Sampler, 4> kSamplers = {{{"cpu_power", &MetricsRequest::processorPower},
                                               {"gpu_power", &MetricsRequest::graphicsPower},
                                               {"ane_power", &MetricsRequest::neuralEnginePower},
                                               {"thermal", &MetricsRequest::thermal}}};

/// A caller's text in quotes, cut short and made fit for people.
std::string quoted(std::string_view raw) { return '"' + excerpt(raw, 40) + '"'; }

Trouble wrong(std::string_view raw, const char* what) { return {.what = what, .where = quoted(raw)}; }

std::optional<Trouble> parseSamplers(std::string_view list, MetricsRequest& request) {
  while (true) {
    const std::string_view name = list.substr(0, list.find(','));
    const auto* const sampler = std::ranges::find(kSamplers, name, &Sampler::name);
    if (sampler == kSamplers.end()) return wrong(name, "{} is not a sampler");
    if (std::exchange(request.*sampler->wanted, true)) return wrong(name, "{} is given twice");
    if (name.size() == list.size()) return std::nullopt;
    list.remove_prefix(name.size() + 1);
  }
}

std::optional<Trouble> parseInterval(std::string_view text, MetricsRequest& request) {
  const auto number = wholeNumber<unsigned>(text);
  if (!number || *number < kShortestInterval || *number > kLongestInterval) {
    return Trouble{.what = filledIn(
                       "{} is not an interval from {} to {} milliseconds",
                       {quoted(text), std::to_string(kShortestInterval), std::to_string(kLongestInterval)})};
  }
  request.interval = std::chrono::milliseconds(*number);
  return std::nullopt;
}

}  // namespace

Result<MetricsRequest> parseMetricsParameters(std::span<const std::string> parameters) {
  MetricsRequest request;
  bool hasSamplers = false;
  bool hasInterval = false;
  for (; !parameters.empty(); parameters = parameters.subspan(2)) {
    const std::string& option = parameters.front();
    const bool isSamplers = option == "--samplers";
    if (!isSamplers && option != "-i") return wrong(option, "{} is not an option");
    if (std::exchange(isSamplers ? hasSamplers : hasInterval, true))
      return wrong(option, "{} is given twice");
    if (parameters.size() < 2) return wrong(option, "{} needs a value");
    const auto trouble = (isSamplers ? parseSamplers : parseInterval)(parameters[1], request);
    if (trouble) return *trouble;
  }
  if (!hasSamplers) return wrong("--samplers", "{} is missing");
  if (!hasInterval) return wrong("-i", "{} is missing");
  return request;
}

}  // namespace quorlin
