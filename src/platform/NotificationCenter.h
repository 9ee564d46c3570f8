/// Named broadcasts between the programs of one user session.
#pragma once

#include "platform/values/PropertyList.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

struct Notification {
  std::string name;
  std::optional<std::string> object;
  Dictionary userInfo;
};

/// How a notification is posted. Immediate asks for delivery at once and in all of the user's sessions.
enum class Delivery { Default, Immediate };

/// Keeps an observer registered for as long as it lives.
class Observation {
 public:
  Observation() = default;
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;
  virtual ~Observation() = default;
};

/// Main thread only, except post, which a helper's reply may call on its own queue.
class NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  virtual ~NotificationCenter() = default;

  /// Fire and forget: the sender does not learn whether the notification was received.
  virtual void post(std::string_view name, std::optional<std::string_view> object, const Dictionary& userInfo,
                    Delivery delivery) = 0;

  /// Calls the handler, on the main thread, for every notification of that name with any object.
  [[nodiscard]] virtual std::unique_ptr<Observation> addObserver(std::string_view name, Handler handler) = 0;
};

}  // namespace quorlin
