/// The ids and labels of the sensors found, and which of them a person looks at first.
#pragma once

#include "engine/SensorDiscovery.h"
#include "platform/PropertyList.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace quorlin {

/// Made once a discovery and shared by all of its readings. A label dictionary has a sensor's id and label;
/// the values of a reading come in the same order.
struct SensorCatalogue {
  std::shared_ptr<const Dictionary> temperatures = std::make_shared<const Dictionary>();
  std::shared_ptr<const Dictionary> fans = std::make_shared<const Dictionary>();
  /// Some of the temperatures, and where they stand among all.
  std::shared_ptr<const Dictionary> reduced = std::make_shared<const Dictionary>();
  std::vector<std::size_t> reducedIndexes;
};

/// Ids and labels are unique within a dictionary, and UTF-8.
SensorCatalogue catalogueOf(const std::vector<FoundChip>& chips);

/// The temperatures that a person looks at first: processors, then graphics, then drives; a few at most, and
/// never none where there is any. Indexes count the temperatures of all chips in order.
std::vector<std::size_t> reducedSetOf(const std::vector<FoundChip>& chips);

}  // namespace quorlin
