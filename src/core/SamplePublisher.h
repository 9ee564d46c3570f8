/// Reads the sensors and publishes samples.
#pragma once

#include "platform/NotificationCenter.h"
#include "platform/SensorsEngine.h"

#include <memory>

namespace quorlin {

/// Main thread only.
class SamplePublisher {
 public:
  /// Both outlive it.
  SamplePublisher(const SensorsEngineFactory& factory, NotificationCenter& center)
      : factory_(factory), center_(center) {}

  /// Makes the engine. Nothing is published before that.
  void start();

  /// Whether the main application has declared itself active.
  void setMainAppNeedsData(bool needsData) { mainAppNeedsData_ = needsData; }

  /// Reads one sample and posts it, whole and reduced, to the main application while it needs data and to the
  /// widget while it runs.
  void publish(bool widgetRuns);

 private:
  const SensorsEngineFactory& factory_;
  NotificationCenter& center_;
  bool mainAppNeedsData_ = false;
  std::unique_ptr<StatisticsData> statsData_;
  std::unique_ptr<QuorlinSensorsEngine> se_;
};

}  // namespace quorlin
