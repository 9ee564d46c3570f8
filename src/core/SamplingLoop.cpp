/// The agent's heartbeat: announces itself, finds its consumers, and only then reads and publishes.
#include "core/AppDelegate.h"
#include "core/ChargeDecision.h"
#include "core/Notifications.h"
#include "core/SamplePayload.h"

#include <algorithm>
#include <filesystem>

namespace quorlin {
namespace {

bool contains(const auto& identifiers, std::string_view identifier) {
  return std::ranges::find(identifiers, identifier) != identifiers.end();
}

/// Whether the main application is installed. Nothing depends on the answer.
bool probeMainAppInstallation() {
  std::error_code ignored;
  return std::filesystem::exists("/Applications/Quorlin.app", ignored) ||
         std::filesystem::exists("/Applications/Quorlin Pro.app", ignored);
}

}  // namespace

void AppDelegate::updateData() {
  if (controllerWindow_) probeMainAppInstallation();
  if (!pluginEnabled_ && !coreEnabled_) return;
  if (pluginEnabled_) postHeartbeat();

  const Consumers consumers = findConsumers();
  if (!consumers.mainApp && !consumers.widget) {
    releaseChargeWithoutConsumers();
    return;
  }
  if (coreEnabled_ && doesPowerWork()) {
    const bool due = skipPowerMetrics_ == 0;
    skipPowerMetrics_ = due ? 1 : 0;
    if (due) doPowerWork();
  }
  if (pluginEnabled_) postSamples(consumers.widget);
}

void AppDelegate::postHeartbeat() {
  const Dictionary version = versionPayload();
  for (const std::string_view name :
       {notification::kSensorsActive, notification::kSensorsActiveW, notification::kSensorsActiveM}) {
    services_.notificationCenter.post(name, kSensorsAgent, version, Delivery::Immediate);
  }
}

AppDelegate::Consumers AppDelegate::findConsumers() {
  Consumers consumers;
  for (const std::string& identifier : getCarbonProcessList()) {
    consumers.mainApp = consumers.mainApp || contains(kMainAppIdentifiers, identifier);
    consumers.widget = consumers.widget || contains(kWidgetIdentifiers, identifier);
  }
  if (!consumers.mainApp && !consumers.widget) {
    consumers.mainApp =
        std::ranges::any_of(services_.workspace.runningApplications(), [](const RunningApplication& running) {
          return contains(kMainAppIdentifiers, running.bundleIdentifier);
        });
  }
  return consumers;
}

void AppDelegate::doPowerWork() {
  std::int32_t level = 0;
  if (macHasBattery_ != kNoBattery) {
    const std::vector<std::int32_t> battery = getBatteryInfo();
    if (battery.size() == 2) {
      macHasBattery_ = battery[0];
      level = battery[1];
    }
  }
  switch (decideCharge(powerLimit_, level, macHasBattery_, powerLimitEnabled_)) {
    case ChargeDecision::Hold:
      limitChargeThenRecord(false);
      break;
    case ChargeDecision::Release:
      limitChargeThenRecord(true);
      break;
    case ChargeDecision::Nothing:
      break;
  }
  postPowerMetrics();
}

void AppDelegate::limitChargeThenRecord(bool mode) {
  limitCharge(
      [this, mode](const std::optional<std::string>& reply) {
        setPowerLimitEnabled(!mode);
        logReply(reply);
      },
      mode);
}

void AppDelegate::postPowerMetrics() {
  getStatisticsData([this](const std::optional<std::string>& metrics) {
    if (!metrics) return;
    services_.notificationCenter.post(notification::kCoreData, kCoreAgent,
                                      powerMetricsPayload(*metrics, powerLimit_), Delivery::Immediate);
  });
}

void AppDelegate::postSamples(bool widgetRuns) {
  const std::unique_ptr<StatisticsData> fresh = services_.sensorsEngine.makeStatisticsData();
  statsData_->populateStatisticsDataFrom(*se_->getSensorsInfo(*fresh));

  const DiskActivityArchives archives = archiveDiskActivities(statsData_->diskIO_activities());
  const Dictionary full = sensorsSample(SampleKind::Full, *statsData_, archives);
  const Dictionary reduced = sensorsSample(SampleKind::Reduced, *statsData_, archives);

  const auto post = [&](std::string_view name, const Dictionary& sample) {
    services_.notificationCenter.post(name, kSensorsAgent, sample, Delivery::Immediate);
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

void AppDelegate::releaseChargeWithoutConsumers() {
  if (!coreEnabled_ || macHasBattery_ < 1 || !doesPowerWork() || !powerLimitEnabled_) return;
  limitCharge(
      [this](const std::optional<std::string>& reply) {
        logReply(reply);
        setPowerLimitEnabled(false);
      },
      true);
}

}  // namespace quorlin
