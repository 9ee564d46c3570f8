#include "programs/quorlinctl/services/Consumer.h"

#include "core/Notifications.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace quorlin {

namespace {

constexpr BusObject kDaemon = {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"};

}  // namespace

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

bool ApplicationName::isLastMainApplication() const {
  const auto ask = [this](const char* member, std::string_view name) {
    const BusMessage question = methodCall(bus_.get(), kDaemon, member);
    checked(sd_bus_message_append(question.get(), "s", std::string(name).c_str()), "Cannot ask about a name");
    return call(bus_.get(), question);
  };
  const auto keeper = ask("GetNameOwner", kKeeperIdentifier);
  const char* const keeperName = keeper ? stringIn(*keeper) : nullptr;
  const char* ownName = nullptr;
  if (sd_bus_get_unique_name(bus_.get(), &ownName) < 0) return false;
  const auto isStranger = [&](std::string_view owner) {
    return owner != ownName && (keeperName == nullptr || owner != keeperName);
  };
  return std::ranges::all_of(kMainAppIdentifiers, [&](std::string_view identifier) {
    const auto owners = ask("ListQueuedOwners", identifier);
    if (!owners) return owners.error().isOneOf({SD_BUS_ERROR_NAME_HAS_NO_OWNER});
    if (sd_bus_message_enter_container(owners->get(), 'a', "s") < 0) return false;
    while (const char* const owner = stringIn(*owners)) {
      if (isStranger(owner)) return false;
    }
    return true;
  });
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

Consumer::Consumer(NotificationCenter& center, Role role, std::function<bool()> isLast, Handler handler)
    : center_(center),
      role_(role),
      names_(notificationsOf(role)),
      isLast_(std::move(isLast)),
      handler_(std::move(handler)) {
  for (const std::string_view name :
       {names_.heartbeat, names_.fullSample, names_.reducedSample, notification::kCoreData}) {
    observations_.push_back(
        center_.addObserver(name, [this](const Notification& notification) { receive(notification); }));
  }
  // Another consumer may leave without knowing of this one.
  observations_.push_back(center_.addObserver(notification::kMainAppInactive, [this](const Notification&) {
    announce(notification::kMainAppActive);
  }));
  announce(notification::kMainAppActive);
}

Consumer::~Consumer() {
  if (isLast_()) announce(notification::kMainAppInactive);
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
