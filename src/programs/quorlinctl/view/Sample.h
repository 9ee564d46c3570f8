/// A sample of the agent, as a consumer understands it.
#pragma once

#include "platform/linux/sensors/Drivers.h"
#include "platform/linux/sensors/SensorKinds.h"
#include "platform/values/PropertyList.h"

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

inline constexpr double kUnknownValue = std::numeric_limits<double>::quiet_NaN();

/// A sensor's stable id, its label for people, and the value in the unit of its kind; NaN if it could not be
/// read.
struct Reading {
  std::string id;
  std::string label;
  double value = kUnknownValue;
};

/// The last rates in bytes per second, oldest first, and bytes since the machine started (NaN if unknown).
struct DiskTraffic {
  std::vector<double> rates;
  double total = kUnknownValue;

  double currentRate() const { return rates.empty() ? kUnknownValue : rates.back(); }
};

struct Sample {
  PerKind<std::vector<Reading>> readings;
  DiskTraffic read;
  DiskTraffic written;
};

/// Missing and malformed values are left out of the sample or unknown.
Sample sampleOf(const Dictionary& userInfo);

/// The text of power metrics, and the charge limit in percent that came with them.
std::optional<std::string> powerMetricsOf(const Dictionary& userInfo);
std::optional<std::int64_t> batteryLimitOf(const Dictionary& userInfo);

/// The readings of one part of the machine, in the order of the sample.
struct ReadingGroup {
  PartOfMachine part;
  std::string title;
  std::vector<Reading> readings;
};

/// Temperatures by the part of the machine that their ids and labels name, processor first, without empty
/// groups.
std::vector<ReadingGroup> groupTemperatures(const std::vector<Reading>& temperatures);

}  // namespace quorlin
