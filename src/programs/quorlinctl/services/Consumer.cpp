#include "programs/quorlinctl/services/Consumer.h"

#include "core/Notifications.h"

#include <cerrno>
#include <cstdint>
#include <utility>

namespace quorlin {

RoleNotifications notificationsOf(Role role) {
  using namespace notification;
  if (role == Role::Widget) return {kSensorsActiveW, kSensorsDataW, kSensorsDataWMini};
  return {kSensorsActiveM, kSensorsDataM, kSensorsDataMMini};
}

ApplicationName::ApplicationName(const Bus& bus, Role role)
    : bus_(bus),
      name_(role == Role::Widget ? kWidgetIdentifiers.front().data() : kMainAppIdentifiers.front().data()) {
  checked(request(), "Cannot own an application's name on the session bus");
}

bool ApplicationName::isOwned() const {
  // sd_bus_request_name(3): who owns the name already is told so; anybody else gets it or stays in the queue.
  const int answer = request();
  return answer > 0 || answer == -EALREADY;
}

int ApplicationName::request() const {
  std::uint64_t flags = SD_BUS_NAME_ALLOW_REPLACEMENT | SD_BUS_NAME_QUEUE;
  if (hasKeeper()) flags |= SD_BUS_NAME_REPLACE_EXISTING;
  return sd_bus_request_name(bus_.get(), name_, flags);
}

bool ApplicationName::hasKeeper() const {
  try {
    const std::optional<pid_t> keeper = processOwning(bus_, std::string(kKeeperIdentifier));
    return keeper && keeper == processOwning(bus_, name_);
  } catch (const BusError&) {
    return false;
  }
}

ApplicationName::~ApplicationName() { sd_bus_release_name(bus_.get(), name_); }

Consumer::Consumer(NotificationCenter& center, Role role, std::function<bool()> isTheApplication,
                   Handler handler)
    : center_(center),
      role_(role),
      names_(notificationsOf(role)),
      isTheApplication_(std::move(isTheApplication)),
      handler_(std::move(handler)) {
  for (const std::string_view name :
       {names_.heartbeat, names_.fullSample, names_.reducedSample, notification::kCoreData}) {
    observations_.push_back(
        center_.addObserver(name, [this](const Notification& notification) { receive(notification); }));
  }
  announce(notification::kMainAppActive);
}

Consumer::~Consumer() {
  if (isTheApplication_()) announce(notification::kMainAppInactive);
}

void Consumer::receive(const Notification& notification) {
  if (notification.name == names_.fullSample) heardSampleSinceHeartbeat_ = true;
  if (notification.name == names_.heartbeat) {
    // The agent was restarted, or another consumer has announced that the main application is inactive.
    if (heardHeartbeat_ && !heardSampleSinceHeartbeat_) announce(notification::kMainAppActive);
    heardHeartbeat_ = true;
    heardSampleSinceHeartbeat_ = false;
  }
  handler_(notification);
}

void Consumer::announce(std::string_view name) {
  if (role_ == Role::MainApp) center_.post(name, std::nullopt, {}, Delivery::Default);
}

}  // namespace quorlin
