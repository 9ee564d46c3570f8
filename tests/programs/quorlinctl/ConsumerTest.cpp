#include "core/Notifications.h"
#include "fakes/FakeNotificationCenter.h"
#include "programs/quorlinctl/services/Consumer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Consumer, AnnouncesTheMainApplicationAgainOnlyAfterAHeartbeatWithoutSample) {
  using namespace notification;
  FakeNotificationCenter center;
  {
    const Consumer consumer(
        center, Role::MainApp, [] { return true; }, [](const Notification&) {});
    EXPECT_THAT(center.names(), ElementsAre("QuorlinActive"));
    for (const auto name :
         {kSensorsActiveM, kSensorsDataM, kSensorsActiveM, kSensorsDataM, kSensorsActiveM}) {
      center.receive(std::string(name));
    }
    EXPECT_EQ(center.posted.size(), 1U);
    center.receive(std::string(kSensorsDataMMini));
    center.receive(std::string(kSensorsActiveM));
    EXPECT_THAT(center.names(), ElementsAre("QuorlinActive", "QuorlinActive"));
    center.receive(std::string(kMainAppInactive));  // of another one, that leaves
    EXPECT_EQ(center.posted.size(), 3U);
    EXPECT_EQ(center.names().back(), "QuorlinActive");
  }
  EXPECT_EQ(center.names().back(), "QuorlinInactive");
}

TEST(Consumer, AsWidgetAnnouncesNothingAndHearsItsOwnNotifications) {
  FakeNotificationCenter center;
  const std::vector<std::string> own = {"QuorlinSensorsActiveW", "QuorlinSensorsActiveW",
                                        "QuorlinSensorsDataW", "QuorlinSensorsCoreData"};
  std::vector<std::string> heard;
  {
    const Consumer consumer(
        center, Role::Widget, [] { return true; },
        [&](const Notification& notification) { heard.push_back(notification.name); });
    for (const std::string& name : own) center.receive(name);
    EXPECT_FALSE(center.observers.contains(notification::kSensorsDataM));
  }
  EXPECT_EQ(heard, own);
  EXPECT_THAT(center.posted, IsEmpty());
}

}  // namespace
}  // namespace quorlin
