/// The agent's view of a sensors engine.
#pragma once

#include "platform/values/PropertyList.h"

#include <functional>
#include <memory>
#include <optional>

namespace quorlin {

/// One complete reading of the machine's sensors. The agent passes it on unopened.
class SensorsReading {
 public:
  virtual ~SensorsReading() = default;
};

/// Holds the current reading. The accessors' values are property lists, go unchanged into notifications and
/// are not kept beyond one tick. A missing value ends the sample that is being built: return empty
/// collections and zeros instead. Main thread only.
class StatisticsData {
 public:
  virtual ~StatisticsData() = default;

  /// Takes over a reading of the engine that this holder belongs to. Called once a tick, so that rates can
  /// be derived from one reading to the next.
  virtual void populateStatisticsDataFrom(const SensorsReading& reading) = 0;

  virtual std::optional<PropertyList> sensors_temperature() const = 0;
  virtual std::optional<PropertyList> sensors_temperatureData() const = 0;
  virtual std::optional<PropertyList> sensors_temperatureMini() const = 0;
  virtual std::optional<PropertyList> sensors_temperatureMiniData() const = 0;
  virtual std::optional<PropertyList> sensors_fans() const = 0;
  virtual std::optional<PropertyList> sensors_fansData() const = 0;

  /// The write activity, then the read activity.
  virtual Array diskIO_activities() const = 0;

  virtual std::optional<PropertyList> diskIO_read() const = 0;
  virtual std::optional<PropertyList> diskIO_write() const = 0;
};

/// Main thread only. A reading takes far less than a tick.
class QuorlinSensorsEngine {
 public:
  virtual ~QuorlinSensorsEngine() = default;

  /// Reads every sensor once. The holder is a fresh one, given for the engine's own use during the call.
  virtual std::unique_ptr<SensorsReading> getSensorsInfo(StatisticsData& fresh) = 0;
};

/// Makes the parts of one engine.
struct SensorsEngineFactory {
  std::function<std::unique_ptr<QuorlinSensorsEngine>()> makeEngine;
  std::function<std::unique_ptr<StatisticsData>()> makeStatisticsData;
};

}  // namespace quorlin
