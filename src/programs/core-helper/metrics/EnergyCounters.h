/// The energy that the processor and the graphics chips have used.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

struct EnergyCounter {
  /// The name of its folder, the same as long as the machine runs.
  std::string id;
  /// What it counts for: package-0, core, uncore, dram, psys, or the name of a chip's driver, numbered
  /// from its second chip on.
  std::string name;
  /// Nothing when it could not be read.
  std::optional<std::uint64_t> microjoules;
  /// The value at which it wraps around to 0; 0 when it never does.
  std::uint64_t range = 0;
  /// Of graphics chips, whose drivers report energy or power.
  std::optional<std::uint64_t> microwatts = std::nullopt;
};

/// The zones of the running average power limit, RAPL (Documentation/power/powercap/powercap.rst). AMD's
/// processors have them under Intel's names; theirs of the cores are left out, since they count one core.
std::vector<EnergyCounter> readProcessorEnergy(const std::filesystem::path& sysfsRoot);

/// The graphics chips that are awake.
std::vector<EnergyCounter> readGraphicsEnergy(const std::filesystem::path& sysfsRoot);

/// The mean power between two readings of one counter's energy; nothing when it cannot be derived from them.
std::optional<double> wattsBetween(const EnergyCounter& before, const EnergyCounter& after,
                                   std::chrono::nanoseconds elapsed);

}  // namespace quorlin
