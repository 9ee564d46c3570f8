/// Quantities as a person reads them. Units are decimal: 1 MB is 1,000,000 bytes. What is not known (NaN) is
/// "—".
#pragma once

#include <optional>
#include <span>
#include <string>

namespace quorlin {

std::string celsiusText(double degrees);
std::string fanText(double revolutionsPerMinute);
std::string percentText(std::optional<int> percent);
/// Three significant digits, "12.3 MB"; negative counts are not known.
std::string bytesText(double bytes);
std::string rateText(double bytesPerSecond);

/// The last values, one a column, scaled from 0 to the largest of them or to the least scale. An unknown
/// value leaves a gap.
std::string sparkline(std::span<const double> values, int columns, double leastScale);

std::string repeated(std::string_view character, int times);

}  // namespace quorlin
