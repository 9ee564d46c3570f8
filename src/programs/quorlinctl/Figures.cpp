#include "quorlinctl/Figures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace quorlin {
namespace {

constexpr const char* kUnknown = "—";

std::string fixed(double value, int decimals, std::string_view unit) {
  std::array<char, 352> text{};
  const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  std::string result(text.data(), static_cast<std::size_t>(length));
  // A value that rounds to zero has no sign.
  if (result.front() == '-' && result.find_first_not_of("-0.") == std::string::npos) result.erase(0, 1);
  return result.append(" ").append(unit);
}

std::string scaled(double bytes, std::string_view suffix) {
  constexpr std::array<std::string_view, 7> units = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
  if (!std::isfinite(bytes) || bytes < 0) return kUnknown;
  std::size_t unit = 0;
  // 999.5 would be shown as 1000.
  while (bytes >= 999.5 && unit + 1 < units.size()) {
    bytes /= 1000;
    ++unit;
  }
  const int decimals = unit == 0 || bytes >= 99.95 ? 0 : bytes >= 9.995 ? 1 : 2;
  return fixed(bytes, decimals, std::string(units[unit]).append(suffix));
}

}  // namespace

std::string celsiusText(double degrees) {
  return std::isfinite(degrees) ? fixed(degrees, 1, "°C") : kUnknown;
}

std::string fanText(double revolutionsPerMinute) {
  return std::isfinite(revolutionsPerMinute) ? fixed(revolutionsPerMinute, 0, "RPM") : kUnknown;
}

std::string percentText(std::optional<int> percent) {
  return percent ? std::to_string(*percent) + " %" : kUnknown;
}

std::string bytesText(double bytes) { return scaled(bytes, ""); }

std::string rateText(double bytesPerSecond) { return scaled(bytesPerSecond, "/s"); }

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
