#include "platform/linux/sensors/LinuxStatisticsData.h"

#include "platform/linux/sensors/LinuxSensorsEngine.h"

namespace quorlin {
namespace {

Array activityOf(const DiskActivity& activity, double DiskRates::*direction) {
  Array rates;
  rates.reserve(DiskActivity::kLength);
  for (const DiskRates& rate : activity.history()) rates.emplace_back(rate.*direction);
  return rates;
}

}  // namespace

void ValueDictionary::startOver(const Labels& labels) {
  labels_ = labels;
  values_ = std::make_shared<Dictionary>();
  values_->reserve(labels->size());
  for (const auto& [id, label] : *labels) values_->emplace_back(id, 0.0);
}

LinuxStatisticsData::LinuxStatisticsData() {
  // Every tick with a consumer makes a holder that stays empty.
  static const auto noSensors = std::make_shared<const SensorCatalogue>(catalogueOf({}));
  catalogue_ = noSensors;
}

void LinuxStatisticsData::populateStatisticsDataFrom(const SensorsReading& reading) {
  const auto& current = static_cast<const LinuxSensorsReading&>(reading);
  catalogue_ = current.catalogue;
  values_ = current.values;
  totals_ = current.disks ? totalsOf(*current.disks) : DiskTotals{};
  activity_.update(current.time, current.disks);
  for (const SensorKindRow& row : kSensorKinds) data_[row.kind].expire();
  reducedData_.expire();
}

PropertyList LinuxStatisticsData::valuesOf(SensorKind kind) const {
  const std::vector<double>& values = values_[kind];
  return data_[kind].with(catalogue_->labels[kind], [&values](std::size_t i) { return values[i]; });
}

std::optional<PropertyList> LinuxStatisticsData::sensors_temperatureMiniData() const {
  return reducedData_.with(catalogue_->reduced, [this](std::size_t i) {
    return values_[SensorKind::Temperature][catalogue_->reducedIndexes[i]];
  });
}

Array LinuxStatisticsData::diskIO_activities() const {
  return {activityOf(activity_, &DiskRates::write), activityOf(activity_, &DiskRates::read)};
}

}  // namespace quorlin
