/// A sample as lines of text: for the live screen, which it fits, and for reports, which it fills.
#pragma once

#include "quorlinctl/Battery.h"
#include "quorlinctl/Sample.h"
#include "quorlinctl/StyledLine.h"

#include <limits>

namespace quorlin {

struct SampleView {
  std::string machine;
  /// When the sample came, or the power metrics where there is none, as text.
  std::string time;
  /// Nothing while one is waited for.
  std::optional<Sample> sample;
  /// Why none has come yet, where that is known.
  std::string silence;
  std::optional<std::string> powerMetrics;
  /// Percent, with the power metrics.
  std::optional<std::int64_t> batteryLimit;
  Battery battery;
};

struct ViewSize {
  static constexpr int kUnlimited = std::numeric_limits<int>::max();

  int columns = 80;
  int rows = kUnlimited;
};

/// At most rows lines of at most columns columns. What does not fit the rows is counted in a line of its own.
/// Without a limit everything is shown, in one column.
std::vector<std::string> renderView(const SampleView& view, ViewSize size, Appearance appearance);

}  // namespace quorlin
