#include "core-helper/MetricsRequest.h"

#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <charconv>
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

/// A caller's text as it may stand in a message.
std::string quoted(std::string_view raw) {
  constexpr std::size_t most = 40;
  std::string shown = displayText(raw);
  if (shown.size() > most) {
    std::size_t end = most;
    // Not in the midst of a character.
    while ((static_cast<unsigned char>(shown[end]) & 0xC0U) == 0x80U) --end;
    shown.resize(end);
  }
  return '"' + shown + '"';
}

/// The complaint about a list of samplers, if there is one.
std::optional<std::string> parseSamplers(std::string_view list, MetricsRequest& request) {
  while (true) {
    const std::string_view name = list.substr(0, list.find(','));
    const auto* const sampler = std::ranges::find(kSamplers, name, &Sampler::name);
    if (sampler == kSamplers.end()) return quoted(name) + " is no sampler";
    if (std::exchange(request.*sampler->wanted, true)) return quoted(name) + " is asked for twice";
    if (name.size() == list.size()) return std::nullopt;
    list.remove_prefix(name.size() + 1);
  }
}

std::optional<std::string> parseInterval(std::string_view text, MetricsRequest& request) {
  unsigned number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < kShortestInterval || number > kLongestInterval) {
    return "the interval " + quoted(text) + " is no number of milliseconds from " +
           std::to_string(kShortestInterval) + " to " + std::to_string(kLongestInterval);
  }
  request.interval = std::chrono::milliseconds(number);
  return std::nullopt;
}

}  // namespace

std::variant<MetricsRequest, std::string> parseMetricsParameters(std::span<const std::string> parameters) {
  MetricsRequest request;
  bool hasSamplers = false;
  bool hasInterval = false;
  for (; !parameters.empty(); parameters = parameters.subspan(2)) {
    const std::string& option = parameters.front();
    const bool isSamplers = option == "--samplers";
    if (!isSamplers && option != "-i") return quoted(option) + " is no option";
    if (std::exchange(isSamplers ? hasSamplers : hasInterval, true))
      return quoted(option) + " is given twice";
    if (parameters.size() < 2) return quoted(option) + " needs a value";
    const std::string& value = parameters[1];
    auto complaint = isSamplers ? parseSamplers(value, request) : parseInterval(value, request);
    if (complaint) return *std::move(complaint);
  }
  if (!hasSamplers) return "\"--samplers\" is missing";
  if (!hasInterval) return "\"-i\" is missing";
  return request;
}

}  // namespace quorlin
