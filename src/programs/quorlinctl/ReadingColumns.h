/// Groups of readings laid out side by side.
#pragma once

#include "quorlinctl/ReadingBlocks.h"
#include "quorlinctl/StyledLine.h"

namespace quorlin {

struct LaidOutReadings {
  std::vector<StyledLine> lines;
  int hiddenReadings = 0;
};

/// Fills as many columns as there is room for, evenly, and hides what does not fit the rows. A block that has
/// to continue in the next column repeats its title there.
LaidOutReadings layOutReadings(const std::vector<ReadingBlock>& blocks, int columns, int rows, int sideBySide,
                               Appearance appearance);

}  // namespace quorlin
