/// Notifications as signals on the session bus: the member is the name, the arguments are (s object,
/// a{sv} userInfo); an empty object stands for none. A session has one bus, so both ways of delivery are
/// the same here.
#pragma once

#include "platform/NotificationCenter.h"
#include "platform/linux/bus/Bus.h"

namespace quorlin {

class BusNotificationCenter final : public NotificationCenter {
 public:
  /// The bus outlives the center and its observations.
  explicit BusNotificationCenter(const Bus& bus) : bus_(bus) {}

  /// Says on the error stream what could not be posted: a name that is no signal's, text that is not UTF-8.
  void post(std::string_view name, std::optional<std::string_view> object, const Dictionary& userInfo,
            Delivery delivery) override;
  /// Throws BusError. A signal whose arguments are not a notification's comes without them.
  std::unique_ptr<Observation> addObserver(std::string_view name, Handler handler) override;

 private:
  const Bus& bus_;
};

}  // namespace quorlin
