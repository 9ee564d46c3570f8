/// Quantities for people. Units are decimal: 1 MB is 1,000,000 bytes. An unknown value (NaN) is "—".
#pragma once

#include "platform/linux/sensors/SensorKinds.h"

#include <optional>
#include <span>
#include <string>

namespace quorlin {

std::string readingText(SensorKind kind, double value);
std::string percentText(std::optional<int> percent);
/// Three significant digits, "12.3 MB"; negative counts are unknown.
std::string bytesText(double bytes);
std::string rateText(double bytesPerSecond);

/// The last values, one per column, scaled from 0 to the largest of them or to leastScale if that is larger.
/// An unknown value leaves a gap.
std::string sparkline(std::span<const double> values, int columns, double leastScale);

std::string repeated(std::string_view character, int times);

}  // namespace quorlin
