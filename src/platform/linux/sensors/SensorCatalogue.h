/// The ids and labels of the sensors found, and the few that a person looks at first.
#pragma once

#include "platform/linux/sensors/SensorDiscovery.h"
#include "platform/values/PropertyList.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace quorlin {

/// Made once a discovery and shared by all of its readings. A label dictionary maps a sensor's id to its
/// label; the values of a reading have the same order.
struct SensorCatalogue {
  PerKind<std::shared_ptr<const Dictionary>> labels;
  /// Some of the temperatures, and their positions among all.
  std::shared_ptr<const Dictionary> reduced;
  std::vector<std::size_t> reducedIndexes;
};

/// Ids and labels are unique within a dictionary, and UTF-8.
SensorCatalogue catalogueOf(const std::vector<FoundChip>& chips);

/// The temperatures that a person looks at first: processors, then graphics, then drives. A few at most, but
/// at least one of a machine that has any. Indexes count the temperatures of all chips in order.
std::vector<std::size_t> reducedSetOf(const std::vector<FoundChip>& chips);

}  // namespace quorlin
