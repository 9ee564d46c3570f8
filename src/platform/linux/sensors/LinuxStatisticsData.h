/// The current reading as the property lists that go into samples.
#pragma once

#include "platform/SensorsEngine.h"
#include "platform/linux/sensors/DiskActivity.h"
#include "platform/linux/sensors/SensorCatalogue.h"
#include "platform/linux/sensors/SensorReader.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace quorlin {

/// The values of one tick under the ids of their sensors, made on first use. The ids are written again only
/// when the sensors change or when someone has kept the last dictionary.
class ValueDictionary {
 public:
  using Labels = std::shared_ptr<const Dictionary>;

  /// Drops the values of the last tick.
  void expire() { isCurrent_ = false; }

  /// Entry i has the id of labels[i] and valueOf(i).
  template <typename ValueOf>
  PropertyList with(const Labels& labels, ValueOf valueOf) {
    if (!isCurrent_) {
      if (labels_ != labels || values_.use_count() != 1) startOver(labels);
      for (std::size_t i = 0; i < values_->size(); ++i) (*values_)[i].second = PropertyList(valueOf(i));
      isCurrent_ = true;
    }
    return PropertyList::SharedDictionary(values_);
  }

 private:
  void startOver(const Labels& labels);

  Labels labels_;
  std::shared_ptr<Dictionary> values_;
  bool isCurrent_ = false;
};

class LinuxStatisticsData final : public StatisticsData {
 public:
  LinuxStatisticsData();

  /// The reading is a LinuxSensorsReading.
  void populateStatisticsDataFrom(const SensorsReading& reading) override;

  std::optional<PropertyList> sensors_temperature() const override {
    return catalogue_->labels[SensorKind::Temperature];
  }
  std::optional<PropertyList> sensors_temperatureData() const override {
    return valuesOf(SensorKind::Temperature);
  }
  std::optional<PropertyList> sensors_temperatureMini() const override { return catalogue_->reduced; }
  std::optional<PropertyList> sensors_temperatureMiniData() const override;
  std::optional<PropertyList> sensors_fans() const override { return catalogue_->labels[SensorKind::Fan]; }
  std::optional<PropertyList> sensors_fansData() const override { return valuesOf(SensorKind::Fan); }
  Array diskIO_activities() const override;
  std::optional<PropertyList> diskIO_read() const override { return totals_.read; }
  std::optional<PropertyList> diskIO_write() const override { return totals_.write; }

 private:
  PropertyList valuesOf(SensorKind kind) const;

  std::shared_ptr<const SensorCatalogue> catalogue_;
  SensorValues values_;
  DiskTotals totals_;
  DiskActivity activity_;
  mutable PerKind<ValueDictionary> data_;
  mutable ValueDictionary reducedData_;
};

}  // namespace quorlin
