/// How much the disks read and write, from one reading of their counters to the next.
#pragma once

#include "engine/DiskCounters.h"

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

/// The rates over all disks. A disk that was not there before is a baseline only, one that is gone
/// contributes nothing, and so does a counter that went backwards.
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
  /// Readings further apart were not made for the same watcher, so what lies between is not history.
  static constexpr std::chrono::seconds kLongestPause{30};

  /// The first reading, and the first one after a pause or without counters, appends no rate.
  void update(std::chrono::nanoseconds time, const std::optional<std::vector<DiskCounters>>& disks);

  /// Oldest first; zeros where nothing has been measured yet.
  const std::array<DiskRates, kLength>& history() const { return history_; }

 private:
  std::array<DiskRates, kLength> history_{};
  std::optional<std::vector<DiskCounters>> baseline_;
  std::chrono::nanoseconds baselineTime_{0};
};

/// Whether disks have been in use lately, by the count of their operations.
class RecentDiskUse {
 public:
  static constexpr std::chrono::seconds kRecent{60};

  /// True when the disk is seen to have worked within the last minute. Called at every reading, since a
  /// change is dated by the reading before.
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
