/// How often and how long the processor was slowed down by its heat.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// One processor as the scheduler counts them. Nothing if the kernel does not count.
struct ThrottleCounter {
  struct Counts {
    std::optional<std::uint64_t> events;
    std::optional<std::uint64_t> milliseconds;
  };
  std::string processor;
  std::string package;
  Counts ofCore;
  Counts ofPackage;
};

struct Throttling {
  std::optional<std::uint64_t> events;
  /// Percent of the time, of the package that was throttled longest.
  std::optional<double> share;
};

std::vector<ThrottleCounter> readThrottling(const std::filesystem::path& sysfsRoot);

/// Each package counted once, though each of its processors reports its events.
Throttling throttlingBetween(const std::vector<ThrottleCounter>& before,
                             const std::vector<ThrottleCounter>& after, std::chrono::nanoseconds elapsed);

}  // namespace quorlin
