#include "engine/LinuxStatisticsData.h"

#include "engine/LinuxSensorsEngine.h"

#include <limits>

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

LinuxStatisticsData::LinuxStatisticsData() : catalogue_(std::make_shared<const SensorCatalogue>()) {}

void LinuxStatisticsData::populateStatisticsDataFrom(const SensorsReading& reading) {
  const auto& current = static_cast<const LinuxSensorsReading&>(reading);
  catalogue_ = current.catalogue;
  values_ = current.values;
  totals_ = current.disks ? totalsOf(*current.disks) : DiskTotals{};
  activity_.update(current.time, current.disks);
  for (ValueDictionary* data : {&temperatureData_, &reducedData_, &fansData_}) data->expire();
}

std::optional<PropertyList> LinuxStatisticsData::sensors_temperature() const {
  return catalogue_->temperatures;
}

std::optional<PropertyList> LinuxStatisticsData::sensors_temperatureData() const {
  return temperatureData_.with(catalogue_->temperatures,
                               [this](std::size_t i) { return values_.temperatures[i]; });
}

std::optional<PropertyList> LinuxStatisticsData::sensors_temperatureMini() const {
  return catalogue_->reduced;
}

std::optional<PropertyList> LinuxStatisticsData::sensors_temperatureMiniData() const {
  return reducedData_.with(catalogue_->reduced, [this](std::size_t i) {
    return values_.temperatures[catalogue_->reducedIndexes[i]];
  });
}

std::optional<PropertyList> LinuxStatisticsData::sensors_fans() const { return catalogue_->fans; }

std::optional<PropertyList> LinuxStatisticsData::sensors_fansData() const {
  return fansData_.with(catalogue_->fans, [this](std::size_t i) { return values_.fans[i]; });
}

Array LinuxStatisticsData::diskIO_activities() const {
  return {activityOf(activity_, &DiskRates::write), activityOf(activity_, &DiskRates::read)};
}

std::optional<PropertyList> LinuxStatisticsData::diskIO_read() const { return totals_.read; }

std::optional<PropertyList> LinuxStatisticsData::diskIO_write() const { return totals_.write; }

}  // namespace quorlin
