/// Quantities as a person reads them. Units are decimal: 1 MB is 1,000,000 bytes. What is not known (NaN) is
/// "—".
#pragma once

#include <span>
#include <string>

namespace quorlin {

std::string celsiusText(double degrees);
std::string fanText(double revolutionsPerMinute);
/// Three significant digits, "12.3 MB"; negative counts are not known.
std::string bytesText(double bytes);
std::string rateText(double bytesPerSecond);

/// The last values, one a column, scaled from 0 to the largest of them or to the least scale. An unknown
/// value leaves a gap.
std::string sparkline(std::span<const double> values, int columns, double leastScale);

/// How many of so many columns a value fills on the way from low to high; 0 when it is not known.
int barLength(double value, double low, double high, int columns);

std::string repeated(std::string_view character, int times);

}  // namespace quorlin
