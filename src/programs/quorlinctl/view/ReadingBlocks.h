/// The content of a view's columns: blocks of readings, each with a label, perhaps a bar, and a value.
#pragma once

#include "platform/linux/sensors/Drivers.h"
#include "programs/quorlinctl/terminal/StyledLine.h"
#include "programs/quorlinctl/view/Battery.h"
#include "programs/quorlinctl/view/Sample.h"

namespace quorlin {

struct ReadingRow {
  std::string label;
  std::string value;
  Tone tone = Tone::Plain;
  /// How much of the bar is filled, 0 to 1; nothing for a reading without a bar.
  std::optional<double> fill = {};
};

struct ReadingBlock {
  std::string title;
  /// The part of the machine whose readings these are, if they are of one.
  std::optional<PartOfMachine> part = {};
  std::vector<ReadingRow> rows = {};
};

/// Temperatures by part of the machine, and the fans.
std::vector<ReadingBlock> sensorBlocks(const Sample& sample);

/// The text of power metrics: each line is a reading, split at its colon.
ReadingBlock powerBlock(std::string_view metrics);

/// Each charge, named by the battery's state, and the limit if there is one. No rows without a battery.
ReadingBlock batteryBlock(const std::vector<Battery>& batteries, std::optional<std::int64_t> limit);

/// Puts a block after the processor's, or first without one. An existing block of the same part is merged
/// into it. A block without rows is left out.
void insertAfterProcessor(std::vector<ReadingBlock>& blocks, ReadingBlock block);

}  // namespace quorlin
