#include "platform/linux/bus/NotificationCenter.h"

#include "platform/linux/bus/PropertyListMessage.h"
#include "platform/posix/ErrorStream.h"

#include <cerrno>
#include <utility>

namespace quorlin {
namespace {

constexpr const char* kPath = "/brellwick/DistributedNotificationCenter";
constexpr const char* kInterface = "brellwick.DistributedNotificationCenter";

class MatchObservation final : public Observation {
 public:
  explicit MatchObservation(BusSlot slot) : slot_(std::move(slot)) {}

 private:
  BusSlot slot_;
};

/// Leaves out unreadable content; often the name is enough.
Notification readNotification(std::string name, sd_bus_message* message) {
  Notification notification{.name = std::move(name), .object = std::nullopt, .userInfo = {}};
  const char* object = nullptr;
  if (sd_bus_message_read_basic(message, 's', &object) <= 0) return notification;
  if (*object != '\0') notification.object = object;
  try {
    notification.userInfo = readDictionary(message);
  } catch (const BusError&) {
    notification.userInfo.clear();
  }
  return notification;
}

}  // namespace

void BusNotificationCenter::post(std::string_view name, std::optional<std::string_view> object,
                                 const Dictionary& userInfo, Delivery /*delivery*/) {
  try {
    sd_bus_message* made = nullptr;
    checked(sd_bus_message_new_signal(bus_.get(), &made, kPath, kInterface, std::string(name).c_str()),
            "Cannot make a notification");
    const BusMessage message(made);
    checked(sd_bus_message_append_basic(made, 's', std::string(object.value_or("")).c_str()),
            "Cannot write a notification");
    appendDictionary(made, userInfo);
    checked(sd_bus_send(bus_.get(), made, nullptr), "Cannot post a notification");
  } catch (const BusError& error) {
    // A bus that has gone away is the application's to report.
    if (sd_bus_is_open(bus_.get()) > 0) {
      writeErrorLine(
          filledIn("{}: {} was not posted: {}", {program_invocation_short_name, name, error.what()}));
    }
  }
}

std::unique_ptr<Observation> BusNotificationCenter::addObserver(std::string_view name, Handler handler) {
  const std::string rule = std::string("type='signal',path='") + kPath + "',interface='" + kInterface +
                           "',member='" + std::string(name) + "'";
  return std::make_unique<MatchObservation>(
      bus_.match(rule, [name = std::string(name), handler = std::move(handler)](sd_bus_message* message) {
        handler(readNotification(name, message));
      }));
}

}  // namespace quorlin
