/// Groups of readings laid out side by side.
#pragma once

#include "programs/quorlinctl/terminal/StyledLine.h"
#include "programs/quorlinctl/view/ReadingBlocks.h"

namespace quorlin {

struct LaidOutReadings {
  std::vector<StyledLine> lines;
  int hiddenReadings = 0;
};

/// Fills up to sideBySide columns evenly and hides what does not fit the rows. A block that continues in the
/// next column repeats its title there.
LaidOutReadings layOutReadings(const std::vector<ReadingBlock>& blocks, int columns, int rows, int sideBySide,
                               Appearance appearance);

}  // namespace quorlin
