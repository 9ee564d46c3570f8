/// Measures for all callers together.
#pragma once

#include "programs/core-helper/metrics/CoreMetrics.h"
#include "programs/core-helper/service/Event.h"

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <string>

namespace quorlin {

/// Readings are at least half a second apart, and each serves every caller: two callers' averages differ by
/// whole steps of that length, so no pair of them tells more than one of them.
class PowerMeter {
 public:
  using Answer = std::function<void(const std::string& text)>;

  /// The event loop outlives the meter.
  PowerMeter(sd_event* event, std::filesystem::path sysfsRoot)
      : event_(event), sysfsRoot_(std::move(sysfsRoot)) {}

  /// Answers from the event loop after the interval, rounded up to whole steps. Throws BusError.
  void measure(const void* caller, const MetricsRequest& request, Answer answer);

  /// Drops what the caller has asked for, unanswered.
  void forget(const void* caller);

 private:
  struct Window {
    const void* caller;
    MetricsRequest request;
    Answer answer;
    /// Steps that are left.
    std::chrono::milliseconds::rep steps;
    std::shared_ptr<const PowerCounters> before = nullptr;
  };

  static int due(sd_event_source* source, std::uint64_t time, void* meter);
  void read();
  void schedule();

  sd_event* event_;
  std::filesystem::path sysfsRoot_;
  std::list<Window> windows_;
  std::chrono::steady_clock::time_point lastReading_;
  EventSource next_;
};

}  // namespace quorlin
