#include "platform/linux/sensors/DiskActivity.h"

#include <algorithm>
#include <limits>

namespace quorlin {
namespace {

constexpr std::uint64_t kSectorSize = 512;

/// The disk of that name; the hint is its likely index.
const DiskCounters* findDisk(const std::vector<DiskCounters>& disks, const std::string& name,
                             std::size_t hint) {
  if (hint < disks.size() && disks[hint].name == name) return &disks[hint];
  const auto found = std::ranges::find(disks, name, &DiskCounters::name);
  return found == disks.end() ? nullptr : &*found;
}

/// No disk moves more bytes a second: such a counter has just gone wrong or recovered.
constexpr double kFastest = 100e9;

double rateBetween(std::uint64_t before, std::uint64_t after, double seconds) {
  const double rate = after < before ? 0.0 : static_cast<double>(after - before) * kSectorSize / seconds;
  return rate <= kFastest ? rate : 0.0;
}

void addSaturating(std::int64_t& total, std::uint64_t sectors) {
  constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const auto room = most - static_cast<std::uint64_t>(total);
  const std::uint64_t bytes = sectors > most / kSectorSize ? most : sectors * kSectorSize;
  total += static_cast<std::int64_t>(std::min(bytes, room));
}

}  // namespace

DiskRates ratesBetween(const std::vector<DiskCounters>& before, const std::vector<DiskCounters>& after,
                       std::chrono::nanoseconds elapsed) {
  const double seconds = std::chrono::duration<double>(elapsed).count();
  DiskRates rates;
  for (std::size_t i = 0; i < after.size(); ++i) {
    const DiskCounters* disk = findDisk(before, after[i].name, i);
    if (disk == nullptr) continue;
    rates.read += rateBetween(disk->sectorsRead, after[i].sectorsRead, seconds);
    rates.write += rateBetween(disk->sectorsWritten, after[i].sectorsWritten, seconds);
  }
  return rates;
}

DiskTotals totalsOf(const std::vector<DiskCounters>& disks) {
  DiskTotals totals;
  for (const DiskCounters& disk : disks) {
    addSaturating(totals.read, disk.sectorsRead);
    addSaturating(totals.write, disk.sectorsWritten);
  }
  return totals;
}

void DiskActivity::update(std::chrono::nanoseconds time,
                          const std::optional<std::vector<DiskCounters>>& disks) {
  const std::chrono::nanoseconds elapsed = time - baselineTime_;
  if (!disks || !baseline_ || elapsed > kLongestPause) {
    history_.fill({});
  } else if (elapsed.count() > 0) {
    std::shift_left(history_.begin(), history_.end(), 1);
    history_.back() = ratesBetween(*baseline_, *disks, elapsed);
  }
  baseline_ = disks;
  baselineTime_ = time;
}

bool RecentDiskUse::usedRecently(const std::string& disk, std::chrono::nanoseconds now,
                                 const std::optional<std::vector<DiskCounters>>& disks) {
  const DiskCounters* counters = disks ? findDisk(*disks, disk, 0) : nullptr;
  if (counters == nullptr) return false;
  const auto [entry, isNew] = disks_.try_emplace(disk, Use{counters->operations, now, std::nullopt});
  Use& use = entry->second;
  if (counters->operations != use.operations && now - use.seen <= kRecent) use.used = now;
  use.operations = counters->operations;
  use.seen = now;
  return use.used && now - *use.used <= kRecent;
}

}  // namespace quorlin
