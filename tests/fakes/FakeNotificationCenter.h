/// Notes what is posted, and posts what the test says.
#pragma once

#include "platform/NotificationCenter.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorlin {

struct Posted {
  std::string name;
  std::optional<std::string> object;
  Dictionary userInfo;
  Delivery delivery;
};

class FakeNotificationCenter final : public NotificationCenter {
 public:
  std::vector<Posted> posted;
  std::map<std::string, Handler, std::less<>> observers;

  void post(std::string_view name, std::optional<std::string_view> object, const Dictionary& userInfo,
            Delivery delivery) override {
    posted.push_back(
        {std::string(name), object ? std::optional<std::string>(*object) : std::nullopt, userInfo, delivery});
  }
  std::unique_ptr<Observation> addObserver(std::string_view name, Handler handler) override {
    observers[std::string(name)] = std::move(handler);
    return std::make_unique<Observation>();
  }

  void receive(const std::string& name) const { observers.at(name)({name, std::nullopt, {}}); }

  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const Posted& notification : posted) names.push_back(notification.name);
    return names;
  }
};

}  // namespace quorlin
