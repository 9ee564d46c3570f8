#include "programs/core-helper/metrics/ThrottleCounters.h"

#include "platform/posix/TextFile.h"
#include "programs/core-helper/metrics/CounterFile.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace quorlin {
namespace {

bool isProcessor(std::string_view name) {
  return name.size() > 3 && name.starts_with("cpu") &&
         name.find_first_not_of("0123456789", 3) == std::string_view::npos;
}

}  // namespace

std::vector<ThrottleCounter> readThrottling(const std::filesystem::path& sysfsRoot) {
  const std::filesystem::path folder = sysfsRoot / "devices/system/cpu";
  std::vector<ThrottleCounter> counters;
  for (const std::string& name : namesIn(folder.string()).value_or({})) {
    if (!isProcessor(name)) continue;
    // Documentation/ABI/testing/sysfs-devices-system-cpu.
    const auto counts = [throttle = folder / name / "thermal_throttle"](const std::string& of) {
      return ThrottleCounter::Counts{
          .events = readCounter(throttle / (of + "_throttle_count")),
          .milliseconds = readCounter(throttle / (of + "_throttle_total_time_ms"))};
    };
    counters.push_back(
        {.processor = name,
         .package = readText((folder / name / "topology/physical_package_id").string()).value_or(""),
         .ofCore = counts("core"),
         .ofPackage = counts("package")});
  }
  return counters;
}

Throttling throttlingBetween(const std::vector<ThrottleCounter>& before,
                             const std::vector<ThrottleCounter>& after, std::chrono::nanoseconds elapsed) {
  // A count is greater than none.
  std::map<std::string, std::optional<std::uint64_t>> eventsOf;
  std::optional<std::uint64_t> longest;
  for (const ThrottleCounter& now : after) {
    const auto then = std::ranges::find(before, now.processor, &ThrottleCounter::processor);
    if (then == before.end()) continue;
    for (const auto of : {&ThrottleCounter::ofCore, &ThrottleCounter::ofPackage}) {
      const ThrottleCounter::Counts& first = (*then).*of;
      const ThrottleCounter::Counts& last = now.*of;
      eventsOf[now.package] = std::max(eventsOf[now.package], risenBy(first.events, last.events));
      longest = std::max(longest, risenBy(first.milliseconds, last.milliseconds));
    }
  }
  Throttling throttling;
  for (const auto& [package, events] : eventsOf) {
    if (events) throttling.events = throttling.events.value_or(0) + *events;
  }
  // The kernel adds the time when a throttling ends, so it may exceed the elapsed time.
  const auto total = std::chrono::duration<double, std::milli>(elapsed).count();
  if (longest && total > 0) throttling.share = std::min(100.0, 100 * static_cast<double>(*longest) / total);
  return throttling;
}

}  // namespace quorlin
