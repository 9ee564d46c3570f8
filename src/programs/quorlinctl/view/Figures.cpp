#include "programs/quorlinctl/view/Figures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr const char* kUnknown = "—";

std::string fixed(double value, int decimals) {
  std::string text = fmt::format("{:.{}f}", value, decimals);
  // A value that rounds to zero has no sign.
  if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  return text;
}

/// Texts for B, kB and so on; {} stands for the number.
using Units = std::array<const char*, 7>;

std::string scaled(double bytes, const Units& units) {
  if (!std::isfinite(bytes) || bytes < 0) return kUnknown;
  std::size_t unit = 0;
  // 999.5 would be shown as 1000.
  while (bytes >= 999.5 && unit + 1 < units.size()) {
    bytes /= 1000;
    ++unit;
  }
  const int decimals = unit == 0 || bytes >= 99.95 ? 0 : bytes >= 9.995 ? 1 : 2;
  return fmt::format(fmt::runtime(units[unit]), fixed(bytes, decimals));
}

}  // namespace

std::string readingText(SensorKind kind, double value) {
  if (!std::isfinite(value)) return kUnknown;
  return fmt::format(fmt::runtime(rowOf(kind).valueText), fixed(value, rowOf(kind).decimals));
}

std::string percentText(std::optional<int> percent) {
  return percent ? fmt::format("{} %", *percent) : kUnknown;
}

std::string bytesText(double bytes) {
  return scaled(bytes, {"{} B", "{} kB", "{} MB", "{} GB", "{} TB", "{} PB", "{} EB"});
}

std::string rateText(double bytesPerSecond) {
  return scaled(bytesPerSecond, {"{} B/s", "{} kB/s", "{} MB/s", "{} GB/s", "{} TB/s", "{} PB/s", "{} EB/s"});
}

std::string sparkline(std::span<const double> values, int columns, double leastScale) {
  constexpr std::array<std::string_view, 8> levels = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  const std::size_t count = std::min(values.size(), static_cast<std::size_t>(std::max(columns, 0)));
  const std::span<const double> shown = values.last(count);
  double scale = leastScale;
  for (const double value : shown) {
    if (std::isfinite(value)) scale = std::max(scale, value);
  }
  std::string line;
  for (const double value : shown) {
    if (!std::isfinite(value)) {
      line += ' ';
      continue;
    }
    const double level = scale > 0 ? value / scale * static_cast<double>(levels.size()) : 0;
    line += levels[static_cast<std::size_t>(std::clamp(level, 0.0, static_cast<double>(levels.size() - 1)))];
  }
  return line;
}

std::string repeated(std::string_view character, int times) {
  std::string line;
  for (int i = 0; i < times; ++i) line += character;
  return line;
}

}  // namespace quorlin
