#include "core/SamplePayload.h"

#include "core/Notifications.h"
#include "platform/KeyedArchiver.h"

#include <array>
#include <optional>
#include <utility>

namespace quorlin {

DiskActivityArchives archiveDiskActivities(const Array& activities) {
  const bool complete = activities.size() == 2;
  return {.read = archivedDataWithRootObject(complete ? activities[1] : Array{}),
          .write = archivedDataWithRootObject(complete ? activities[0] : Array{})};
}

Dictionary sensorsSample(SampleKind kind, const StatisticsData& statistics,
                         const DiskActivityArchives& archives) {
  const bool full = kind == SampleKind::Full;
  // Each is asked for, also behind a missing one.
  std::array<std::pair<const char*, std::optional<PropertyList>>, 9> values = {{
      {"sensors", full ? statistics.sensors_temperature() : statistics.sensors_temperatureMini()},
      {"sensorsData", full ? statistics.sensors_temperatureData() : statistics.sensors_temperatureMiniData()},
      {"fans", statistics.sensors_fans()},
      {"fansData", statistics.sensors_fansData()},
      {"readDiskIOData", archives.read},
      {"writeDiskIOData", archives.write},
      {"readDiskIOBytes", statistics.diskIO_read()},
      {"writeDiskIOBytes", statistics.diskIO_write()},
      {"version", kDataFormatVersion},
  }};
  Dictionary sample;
  for (auto& [key, value] : values) {
    if (!value) break;
    sample.emplace_back(key, *std::move(value));
  }
  return sample;
}

}  // namespace quorlin
