/// The kinds of sensor values, a row each.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace quorlin {

enum class SensorKind : std::uint8_t { Temperature, Fan };

struct SensorKindRow {
  SensorKind kind;
  /// The beginning of its attributes' names (Documentation/hwmon/sysfs-interface.rst).
  std::string_view attribute;
  /// Stands before the number of a channel without a label.
  std::string_view word;
  /// The limits of what a sensor can measure, in the unit of its file.
  std::int64_t least;
  std::int64_t most;
  /// The number of the file's units in one of the unit that is shown.
  double divisor;
  /// A value with its unit, and the digits behind its point; a heading; how many sensors there are. {} stands
  /// for the number.
  const char* valueText;
  int decimals;
  const char* title;
  const char* countOfOne;
  const char* count;
  /// The entries of a sample that hold the labels and the values.
  std::string_view labelsKey;
  std::string_view valuesKey;
};

inline constexpr std::array kSensorKinds = {
    SensorKindRow{SensorKind::Temperature, "temp", "Temp", -100'000, 250'000, 1000, "{} °C", 1,
                  "Temperatures", "1 temperature", "{} temperatures", "sensors", "sensorsData"},
    SensorKindRow{SensorKind::Fan, "fan", "Fan", 0, 100'000, 1, "{} RPM", 0, "Fans", "1 fan", "{} fans",
                  "fans", "fansData"},
};

constexpr const SensorKindRow& rowOf(SensorKind kind) { return kSensorKinds[static_cast<std::size_t>(kind)]; }

static_assert(std::ranges::all_of(kSensorKinds, [](const auto& row) { return &rowOf(row.kind) == &row; }),
              "rows stand in the order of the kinds");

/// Something of each kind.
template <typename T>
class PerKind {
 public:
  constexpr T& operator[](SensorKind kind) { return values_[static_cast<std::size_t>(kind)]; }
  constexpr const T& operator[](SensorKind kind) const { return values_[static_cast<std::size_t>(kind)]; }

 private:
  std::array<T, kSensorKinds.size()> values_{};
};

}  // namespace quorlin
