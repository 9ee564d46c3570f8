#include "programs/core-helper/metrics/CoreMetrics.h"

#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

namespace quorlin {
namespace {

constexpr std::string_view kPackage = "package-";

/// The mean power of a zone or a graphics chip, or nothing if it is unknown.
struct Power {
  std::string name;
  std::optional<double> watts;
};

std::vector<Power> powersBetween(const std::vector<EnergyCounter>& before,
                                 const std::vector<EnergyCounter>& after, std::chrono::nanoseconds elapsed) {
  std::vector<Power> powers;
  for (const EnergyCounter& counter : after) {
    const auto then = std::ranges::find(before, counter.id, &EnergyCounter::id);
    std::optional<double> watts;
    if (counter.microwatts) {
      watts = static_cast<double>(*counter.microwatts) / 1e6;
    } else if (then != before.end()) {
      watts = wattsBetween(*then, counter, elapsed);
    }
    powers.push_back({counter.name, watts});
  }
  return powers;
}

/// Nothing if there is no such zone or the power of one is unknown.
std::optional<double> sumOf(const std::vector<Power>& zones, std::string_view name) {
  std::optional<double> sum;
  for (const Power& zone : zones) {
    if (name == kPackage ? !zone.name.starts_with(name) : zone.name != name) continue;
    if (!zone.watts) return std::nullopt;
    sum = sum.value_or(0) + *zone.watts;
  }
  return sum;
}

std::string fixed(double value, int decimals) {
  std::array<char, 64> text;
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(text.data(), end) : std::string();
}

void addPower(std::string& text, std::string_view what, std::optional<double> watts) {
  if (watts) text.append(what).append(" Power: ").append(fixed(*watts, 2)).append(" W\n");
}

void addProcessor(std::string& text, const std::vector<Power>& zones) {
  const std::optional<double> cores = sumOf(zones, "core");
  const std::optional<double> packages = sumOf(zones, kPackage);
  addPower(text, "CPU", cores ? cores : packages);
  addPower(text, "Package", packages);
  const auto isPackage = [](const Power& zone) { return zone.name.starts_with(kPackage); };
  if (std::ranges::count_if(zones, isPackage) > 1) {
    for (const Power& zone : zones) {
      if (isPackage(zone))
        addPower(text, "Package " + displayText(zone.name.substr(kPackage.size())), zone.watts);
    }
  }
  addPower(text, "DRAM", sumOf(zones, "dram"));
}

void addGraphics(std::string& text, const std::vector<Power>& zones, const std::vector<Power>& chips) {
  // The zone of the graphics chip inside the processor ("power plane 1" in Intel's Software Developer's
  // Manual, volume 3, "Running Average Power Limit").
  addPower(text, "GPU", sumOf(zones, "uncore"));
  for (const Power& chip : chips) {
    if (chip.watts) text += "GPU Power (" + chip.name + "): " + fixed(*chip.watts, 2) + " W\n";
  }
}

void addThermal(std::string& text, const Throttling& throttling) {
  if (throttling.share) text += "Thermal Pressure: " + fixed(*throttling.share, 1) + " %\n";
  if (throttling.events) {
    text += "Thermal Throttling: " + std::to_string(*throttling.events) +
            (*throttling.events == 1 ? " event\n" : " events\n");
  }
}

}  // namespace

PowerCounters readPowerCounters(const std::filesystem::path& sysfsRoot, const MetricsRequest& request) {
  PowerCounters counters;
  counters.time = std::chrono::steady_clock::now();
  if (request.processorPower || request.graphicsPower) counters.processor = readProcessorEnergy(sysfsRoot);
  if (request.graphicsPower) counters.graphics = readGraphicsEnergy(sysfsRoot);
  if (request.thermal) counters.throttling = readThrottling(sysfsRoot);
  return counters;
}

std::string metricsText(const PowerCounters& before, const PowerCounters& after,
                        const MetricsRequest& request) {
  std::string text;
  const std::chrono::nanoseconds elapsed = after.time - before.time;
  const std::vector<Power> zones = powersBetween(before.processor, after.processor, elapsed);
  if (request.processorPower) addProcessor(text, zones);
  if (request.graphicsPower)
    addGraphics(text, zones, powersBetween(before.graphics, after.graphics, elapsed));
  // A neural engine gets no line: Linux has no counter of its energy.
  if (request.thermal) addThermal(text, throttlingBetween(before.throttling, after.throttling, elapsed));
  return text;
}

}  // namespace quorlin
