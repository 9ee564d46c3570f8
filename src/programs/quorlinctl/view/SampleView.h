/// A sample as lines of text, for the live screen and for reports.
#pragma once

#include "programs/quorlinctl/terminal/StyledLine.h"
#include "programs/quorlinctl/view/Battery.h"
#include "programs/quorlinctl/view/Sample.h"

namespace quorlin {

struct SampleView {
  std::string machine;
  /// When the sample came, or the power metrics if there is no sample, as text.
  std::string time;
  /// Nothing before the first one.
  std::optional<Sample> sample;
  /// Why no sample has come; empty if that is unknown.
  std::string silence;
  std::optional<std::string> powerMetrics;
  /// Percent, with the power metrics.
  std::optional<std::int64_t> batteryLimit;
  std::vector<Battery> batteries;
  /// What becomes of the limit, as whole sentences; empty without a limit.
  std::string hold = {};
};

/// At most size.rows lines of at most size.columns columns. A separate line counts the readings that do not
/// fit. With unlimited rows everything is shown, in one column.
std::vector<std::string> renderView(const SampleView& view, ViewSize size, Appearance appearance);

}  // namespace quorlin
