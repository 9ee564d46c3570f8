/// The user-info dictionaries of the published samples.
#pragma once

#include "platform/SensorsEngine.h"
#include "platform/values/PropertyList.h"

namespace quorlin {

/// Keyed archives of the two activities of one tick, shared by both of its samples.
struct DiskActivityArchives {
  PropertyList read;
  PropertyList write;
};

/// Archives of empty arrays unless there are exactly two activities.
DiskActivityArchives archiveDiskActivities(const Array& activities);

enum class SampleKind { Full, Reduced };

/// Reads the holder's accessors in the order of the keys. The first that is missing ends the dictionary.
Dictionary sensorsSample(SampleKind kind, const StatisticsData& statistics,
                         const DiskActivityArchives& archives);

}  // namespace quorlin
