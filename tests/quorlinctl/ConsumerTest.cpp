#include "core/Notifications.h"
#include "quorlinctl/Consumer.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FakeCenter final : public NotificationCenter {
 public:
  void post(std::string_view name, std::optional<std::string_view> object, const Dictionary& userInfo,
            Delivery /*delivery*/) override {
    EXPECT_FALSE(object.has_value());
    EXPECT_TRUE(userInfo.empty());
    EXPECT_FALSE(observers.empty()) << "announced before anything was observed";
    posted.emplace_back(name);
  }
  std::unique_ptr<Observation> addObserver(std::string_view name, Handler handler) override {
    observers[std::string(name)] = std::move(handler);
    return std::make_unique<Observation>();
  }
  void deliver(std::string_view name) {
    observers.at(std::string(name))({std::string(name), std::nullopt, {}});
  }

  std::map<std::string, Handler> observers;
  std::vector<std::string> posted;
};

TEST(Consumer, AnnouncesTheMainApplicationAgainOnlyAfterAHeartbeatWithoutSample) {
  FakeCenter center;
  {
    const Consumer consumer(
        center, Role::MainApp, [] { return true; }, [](const Notification&) {});
    EXPECT_THAT(center.posted, ElementsAre("QuorlinActive"));
    for (const std::string_view name :
         {notification::kSensorsActiveM, notification::kSensorsDataM, notification::kSensorsActiveM,
          notification::kSensorsDataM, notification::kSensorsActiveM}) {
      center.deliver(name);
    }
    EXPECT_EQ(center.posted.size(), 1U);
    center.deliver(notification::kSensorsDataMMini);
    center.deliver(notification::kSensorsActiveM);
    EXPECT_THAT(center.posted, ElementsAre("QuorlinActive", "QuorlinActive"));
  }
  EXPECT_EQ(center.posted.back(), "QuorlinInactive");
}

TEST(Consumer, LeavesQuietlyWhenAnotherMainApplicationStays) {
  FakeCenter center;
  {
    const Consumer consumer(
        center, Role::MainApp, [] { return false; }, [](const Notification&) {});
  }
  EXPECT_THAT(center.posted, ElementsAre("QuorlinActive"));
}

TEST(Consumer, AsWidgetAnnouncesNothingAndHearsItsOwnNotifications) {
  FakeCenter center;
  std::vector<std::string> heard;
  {
    const Consumer consumer(
        center, Role::Widget, [] { return true; },
        [&](const Notification& notification) { heard.push_back(notification.name); });
    for (const std::string_view name : {notification::kSensorsActiveW, notification::kSensorsActiveW,
                                        notification::kSensorsDataW, notification::kCoreData}) {
      center.deliver(name);
    }
    EXPECT_FALSE(center.observers.contains(std::string(notification::kSensorsDataM)));
  }
  EXPECT_THAT(heard, ElementsAre("QuorlinSensorsActiveW", "QuorlinSensorsActiveW", "QuorlinSensorsDataW",
                                 "QuorlinSensorsCoreData"));
  EXPECT_THAT(center.posted, IsEmpty());
}

}  // namespace
}  // namespace quorlin
