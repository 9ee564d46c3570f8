#include "core/SamplePublisher.h"

#include "core/Notifications.h"
#include "core/SamplePayload.h"

namespace quorlin {

void SamplePublisher::start() {
  statsData_ = factory_.makeStatisticsData();
  se_ = factory_.makeEngine();
}

void SamplePublisher::publish(bool widgetRuns) {
  // The fresh holder is gone when the reading is taken over.
  const std::unique_ptr<SensorsReading> reading = se_->getSensorsInfo(*factory_.makeStatisticsData());
  statsData_->populateStatisticsDataFrom(*reading);

  const DiskActivityArchives archives = archiveDiskActivities(statsData_->diskIO_activities());
  const Dictionary full = sensorsSample(SampleKind::Full, *statsData_, archives);
  const Dictionary reduced = sensorsSample(SampleKind::Reduced, *statsData_, archives);

  const auto post = [&](std::string_view name, const Dictionary& sample) {
    center_.post(name, kSensorsAgent, sample, Delivery::Immediate);
  };
  if (mainAppNeedsData_) {
    post(notification::kSensorsDataM, full);
    post(notification::kSensorsDataMMini, reduced);
  }
  if (widgetRuns) {
    post(notification::kSensorsDataW, full);
    post(notification::kSensorsDataWMini, reduced);
  }
}

}  // namespace quorlin
