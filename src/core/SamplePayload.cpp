#include "core/SamplePayload.h"

#include "core/Notifications.h"
#include "platform/KeyedArchiver.h"

namespace quorlin {
namespace {

/// Builds a dictionary that ends at the first missing value.
class DictionaryUpToFirstMissing {
 public:
  /// The value is asked for in any case, as an argument would be.
  DictionaryUpToFirstMissing& add(const char* key, std::optional<PropertyList> value) {
    ended_ = ended_ || !value.has_value();
    if (!ended_) entries_.emplace_back(key, *std::move(value));
    return *this;
  }

  Dictionary take() && { return std::move(entries_); }

 private:
  Dictionary entries_;
  bool ended_ = false;
};

}  // namespace

DiskActivityArchives archiveDiskActivities(const Array& activities) {
  const bool complete = activities.size() == 2;
  return {.read = archivedDataWithRootObject(complete ? activities[1] : Array{}),
          .write = archivedDataWithRootObject(complete ? activities[0] : Array{})};
}

Dictionary sensorsSample(SampleKind kind, const StatisticsData& statistics,
                         const DiskActivityArchives& archives) {
  DictionaryUpToFirstMissing sample;
  if (kind == SampleKind::Full) {
    sample.add("sensors", statistics.sensors_temperature())
        .add("sensorsData", statistics.sensors_temperatureData());
  } else {
    sample.add("sensors", statistics.sensors_temperatureMini())
        .add("sensorsData", statistics.sensors_temperatureMiniData());
  }
  sample.add("fans", statistics.sensors_fans())
      .add("fansData", statistics.sensors_fansData())
      .add("readDiskIOData", archives.read)
      .add("writeDiskIOData", archives.write)
      .add("readDiskIOBytes", statistics.diskIO_read())
      .add("writeDiskIOBytes", statistics.diskIO_write())
      .add("version", kDataFormatVersion);
  return std::move(sample).take();
}

Dictionary versionPayload() { return {{"version", kDataFormatVersion}}; }

Dictionary powerMetricsPayload(const std::string& metrics, std::int64_t batteryLimit) {
  return {{"coreData", metrics}, {"batteryLimit", batteryLimit}, {"version", kDataFormatVersion}};
}

}  // namespace quorlin
