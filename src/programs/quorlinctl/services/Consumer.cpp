#include "programs/quorlinctl/services/Consumer.h"

#include "core/Notifications.h"

#include <cerrno>
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
  checked(sd_bus_request_name(bus.get(), name_, SD_BUS_NAME_ALLOW_REPLACEMENT | SD_BUS_NAME_QUEUE),
          "Cannot own an application's name on the session bus");
}

bool ApplicationName::isOwned() const {
  const char* own = nullptr;
  checked(sd_bus_get_unique_name(bus_.get(), &own), "Cannot ask for this program's name on the session bus");
  sd_bus_creds* made = nullptr;
  const int found = sd_bus_get_name_creds(bus_.get(), name_, SD_BUS_CREDS_UNIQUE_NAME, &made);
  if (found == -ENXIO) return false;
  checked(found, "Cannot ask who owns an application's name");
  const BusCredentials owner(made);
  const char* ownerName = nullptr;
  checked(sd_bus_creds_get_unique_name(owner.get(), &ownerName), "Cannot ask who owns an application's name");
  return std::string_view(own) == ownerName;
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
    observe(name);
  }
  announce(notification::kMainAppActive);
}

Consumer::~Consumer() {
  if (isTheApplication_()) announce(notification::kMainAppInactive);
}

void Consumer::observe(std::string_view name) {
  observations_.push_back(
      center_.addObserver(name, [this](const Notification& notification) { receive(notification); }));
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
