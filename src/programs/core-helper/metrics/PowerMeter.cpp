#include "programs/core-helper/metrics/PowerMeter.h"

#include <algorithm>
#include <utility>

namespace quorlin {
namespace {

constexpr std::chrono::milliseconds kStep{500};

}  // namespace

void PowerMeter::measure(const void* caller, const MetricsRequest& request, Answer answer) {
  const auto steps = (request.interval + kStep - std::chrono::milliseconds(1)) / kStep;
  windows_.push_back({.caller = caller, .request = request, .answer = std::move(answer), .steps = steps});
  if (!next_) schedule();
}

void PowerMeter::forget(const void* caller) {
  std::erase_if(windows_, [caller](const Window& window) { return window.caller == caller; });
}

int PowerMeter::due(sd_event_source* /*source*/, std::uint64_t /*time*/, void* meter) {
  static_cast<PowerMeter*>(meter)->read();
  return 0;
}

void PowerMeter::schedule() {
  next_ = timer(event_,
                std::max<std::chrono::steady_clock::duration>(
                    lastReading_ + kStep - std::chrono::steady_clock::now(), {}),
                due, this);
}

void PowerMeter::read() {
  next_.reset();
  if (windows_.empty()) return;
  MetricsRequest wanted;
  for (const Window& window : windows_) wanted.include(window.request);
  const auto now = std::make_shared<const PowerCounters>(readPowerCounters(sysfsRoot_, wanted));
  lastReading_ = now->time;
  std::list<Window> ended;
  for (auto window = windows_.begin(); window != windows_.end();) {
    const auto following = std::next(window);
    if (!window->before) {
      window->before = now;
    } else if (--window->steps == 0) {
      ended.splice(ended.end(), windows_, window);
    }
    window = following;
  }
  schedule();
  for (const Window& window : ended) window.answer(metricsText(*window.before, *now, window.request));
}

}  // namespace quorlin
