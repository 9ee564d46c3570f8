/// What a view shows in columns: blocks of readings, each reading a label, perhaps a bar, and a value.
#pragma once

#include "quorlinctl/Battery.h"
#include "quorlinctl/Sample.h"
#include "quorlinctl/StyledLine.h"

namespace quorlin {

struct ReadingRow {
  std::string label;
  std::string value;
  Tone tone = Tone::Plain;
  /// How much of the bar is filled, 0 to 1; nothing for a reading without bar.
  std::optional<double> fill;
};

struct ReadingBlock {
  std::string title;
  std::vector<ReadingRow> rows;
};

/// Temperatures by the part of the machine, and the fans.
std::vector<ReadingBlock> sensorBlocks(const Sample& sample);

/// The text of a power metrics notification: each line a reading, split at its colon.
ReadingBlock powerBlock(std::string_view metrics);

/// The charge, named by what becomes of it, and the limit where there is one. Without a battery no rows.
ReadingBlock batteryBlock(const Battery& battery, std::optional<std::int64_t> limit);

/// Puts a block behind the one of another title, or first where there is none; rows of its own title are
/// joined to it. One without rows is left out.
void insertBehind(std::vector<ReadingBlock>& blocks, std::string_view title, ReadingBlock block);

}  // namespace quorlin
