/// How much the disks read and write, from one reading of their counters to the next.
#pragma once

#include "platform/linux/sensors/DiskCounters.h"
#include "platform/values/Tick.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// Rates in bytes a second.
struct DiskRates {
  double read = 0;
  double write = 0;
};

/// The rates over all disks. A new disk is only a baseline. A disk that is gone contributes nothing, and
/// neither does a counter that went backwards.
DiskRates ratesBetween(const std::vector<DiskCounters>& before, const std::vector<DiskCounters>& after,
                       std::chrono::nanoseconds elapsed);

/// Sums of bytes, at most what an int64 holds.
struct DiskTotals {
  std::int64_t read = 0;
  std::int64_t write = 0;
};
DiskTotals totalsOf(const std::vector<DiskCounters>& disks);

/// The rates of the last readings. Times are those of one monotonic clock.
class DiskActivity {
 public:
  static constexpr std::size_t kLength = 60;
  /// Readings further apart were not made for the same watcher, so the time between is not history.
  static constexpr std::chrono::milliseconds kLongestPause = 10 * kTick;

  /// The first reading, the first after a pause, and one without counters append no rate.
  void update(std::chrono::nanoseconds time, const std::optional<std::vector<DiskCounters>>& disks);

  /// Oldest first; zeros where nothing has been measured yet.
  const std::array<DiskRates, kLength>& history() const { return history_; }

 private:
  std::array<DiskRates, kLength> history_{};
  std::optional<std::vector<DiskCounters>> baseline_;
  std::chrono::nanoseconds baselineTime_{0};
};

/// Whether disks have worked lately, by the count of their operations.
class RecentDiskUse {
 public:
  static constexpr std::chrono::milliseconds kRecent = 20 * kTick;

  /// True when the disk has visibly worked within the last minute. Call it at every reading, since the
  /// reading before dates a change.
  bool usedRecently(const std::string& disk, std::chrono::nanoseconds now,
                    const std::optional<std::vector<DiskCounters>>& disks);

 private:
  struct Use {
    std::uint64_t operations = 0;
    std::chrono::nanoseconds seen{0};
    std::optional<std::chrono::nanoseconds> used;
  };

  std::map<std::string, Use> disks_;
};

}  // namespace quorlin
