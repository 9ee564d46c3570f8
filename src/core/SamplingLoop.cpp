/// The agent's heartbeat: announces itself, finds its consumers, and only then reads and publishes.
#include "core/AppDelegate.h"
#include "core/Notifications.h"

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
    if (coreEnabled_ && doesPowerWork()) chargeHold_.releaseWithoutConsumers();
    return;
  }
  if (coreEnabled_ && doesPowerWork()) {
    const bool due = skipPowerMetrics_ == 0;
    skipPowerMetrics_ = due ? 1 : 0;
    if (due) {
      chargeHold_.followBattery();
      postPowerMetrics();
    }
  }
  if (pluginEnabled_) samples_.publish(consumers.widget);
}

void AppDelegate::postHeartbeat() {
  const Dictionary version = {{"version", kDataFormatVersion}};
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

void AppDelegate::postPowerMetrics() {
  getStatisticsData([this](const std::optional<std::string>& metrics) {
    if (!metrics) return;
    services_.notificationCenter.post(
        notification::kCoreData, kCoreAgent,
        {{"coreData", *metrics}, {"batteryLimit", chargeHold_.powerLimit()}, {"version", kDataFormatVersion}},
        Delivery::Immediate);
  });
}

}  // namespace quorlin
