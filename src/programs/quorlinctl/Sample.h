/// A sample of the agent, as a consumer understands it.
#pragma once

#include "platform/PropertyList.h"

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

inline constexpr double kUnknownValue = std::numeric_limits<double>::quiet_NaN();

/// A sensor's stable id, the label that a person reads, and degrees Celsius or revolutions a minute; NaN
/// where it could not be read.
struct Reading {
  std::string id;
  std::string label;
  double value = kUnknownValue;
};

/// The last rates in bytes a second, oldest first, and bytes since the machine started (NaN where not known).
struct DiskTraffic {
  std::vector<double> rates;
  double total = kUnknownValue;

  double currentRate() const { return rates.empty() ? kUnknownValue : rates.back(); }
};

struct Sample {
  std::vector<Reading> temperatures;
  std::vector<Reading> fans;
  DiskTraffic read;
  DiskTraffic written;
};

/// Whatever a sender left out or wrote as another kind is missing or not known in the sample.
Sample sampleOf(const Dictionary& userInfo);

/// The text of a power metrics notification, and the charge limit in percent that came with it.
std::optional<std::string> powerMetricsOf(const Dictionary& userInfo);
std::optional<std::int64_t> batteryLimitOf(const Dictionary& userInfo);

/// The readings of one part of the machine, in the order of the sample.
struct ReadingGroup {
  std::string title;
  std::vector<Reading> readings;
};

/// The group of the temperatures that belong to no part that is known.
inline constexpr std::string_view kRemainderTitle = "System";

/// Temperatures by the part of the machine that their ids and labels speak of, processor first, empty groups
/// left out.
std::vector<ReadingGroup> groupTemperatures(const std::vector<Reading>& temperatures);

}  // namespace quorlin
