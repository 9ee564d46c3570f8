#include "core/SamplePublisher.h"
#include "fakes/FakeNotificationCenter.h"
#include "fakes/FakeSensorsEngine.h"
#include "platform/KeyedArchiver.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

class SamplePublisherTest : public testing::Test {
 protected:
  SamplePublisherTest() {
    publisher_.start();
    publisher_.setMainAppNeedsData(true);
  }

  const std::vector<Posted>& publish() {
    engine_.calls.clear();
    center_.posted.clear();
    publisher_.publish(false);
    return center_.posted;
  }

  FakeEngine engine_;
  const SensorsEngineFactory factory_ = engine_.factory();
  FakeNotificationCenter center_;
  SamplePublisher publisher_{factory_, center_};
};

TEST_F(SamplePublisherTest, PublishesTheEnginesValuesReadInOrderOnceTheFreshHolderIsGone) {
  const std::vector<Posted>& posted = publish();
  EXPECT_THAT(engine_.calls,
              testing::ElementsAre("getSensorsInfo", "released", "populate", "activities", "temperature",
                                   "temperatureData", "fans", "fansData", "read", "write", "temperatureMini",
                                   "temperatureMiniData", "fans", "fansData", "read", "write"));
  const PropertyList readActivity = archivedDataWithRootObject(Array{2.0});
  const PropertyList writeActivity = archivedDataWithRootObject(Array{1.0});
  Dictionary expected = {
      {"sensors", "temperature"},  {"sensorsData", "temperatureData"}, {"fans", "fans"},
      {"fansData", "fansData"},    {"readDiskIOData", readActivity},   {"writeDiskIOData", writeActivity},
      {"readDiskIOBytes", "read"}, {"writeDiskIOBytes", "write"},      {"version", 12}};
  EXPECT_EQ(posted[0].userInfo, expected);
  expected[0].second = "temperatureMini";
  expected[1].second = "temperatureMiniData";
  EXPECT_EQ(posted[1].userInfo, expected);
  EXPECT_EQ(posted[1].object, "QuorlinSensorsAgent");
  EXPECT_EQ(posted[1].delivery, Delivery::Immediate);
}

TEST_F(SamplePublisherTest, EndsASampleAtTheFirstMissingValue) {
  for (const auto& [missing, full, reduced] :
       {std::tuple("temperature", 0U, 9U), {"temperatureMiniData", 9, 1}, {"fans", 2, 2}, {"write", 7, 7}}) {
    engine_.missing = missing;
    const std::vector<Posted>& posted = publish();
    EXPECT_EQ(posted[0].userInfo.size(), full) << missing;
    EXPECT_EQ(posted[1].userInfo.size(), reduced) << missing;
  }
}

TEST_F(SamplePublisherTest, ArchivesActivitiesOtherThanTwoAsEmpty) {
  for (const std::size_t count : {0U, 1U, 3U}) {
    engine_.activities = Array(count, PropertyList(Array{1.0}));
    const Dictionary& sample = publish()[0].userInfo;
    for (const char* key : {"readDiskIOData", "writeDiskIOData"})
      EXPECT_EQ(*find(sample, key), PropertyList(archivedDataWithRootObject(Array{})));
  }
}

}  // namespace
}  // namespace quorlin
