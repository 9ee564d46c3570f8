#include "fakes/FakeHelper.h"
#include "fakes/FakeLog.h"
#include "fakes/FakeRunLoop.h"
#include "helper/HelperClient.h"

#include <optional>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;

struct HelperClientTest : testing::Test {
  FakeHelperService service;
  FakeJobBlessing blessing;
  FakeRunLoop runLoop;
  FakeLog log;
  std::optional<HelperClient> client{std::in_place, service, blessing, runLoop, log};
};

TEST_F(HelperClientTest, ConnectsOnFirstUseAndAgainAfterInvalidation) {
  client->getVersion([](const auto&) {});
  client->limitCharge("key", true, [](const auto&) {});
  EXPECT_EQ(service.connections, 1);
  service.invalidate();
  runLoop.runQueue();
  EXPECT_THAT(log.lines, ElementsAre("connection invalidated"));
  client->getVersion([](const auto&) {});
  EXPECT_EQ(service.connections, 2);
}

TEST_F(HelperClientTest, HandsOnTheReplyOrNothingWhereTheHelperIsOutOfReach) {
  for (const std::optional<std::string>& reply : {std::optional<std::string>("1.0"), {}}) {
    std::vector<std::optional<std::string>> received;
    client->getVersion([&](const std::optional<std::string>& text) { received.push_back(text); });
    service.answerAll(reply);
    EXPECT_THAT(received, ElementsAre(reply));
  }
}

TEST_F(HelperClientTest, CompletesNoCallThatIsOpenWhenItEnds) {
  client->getVersion([](const auto&) { ADD_FAILURE() << "completed"; });
  client->install([](bool) { ADD_FAILURE() << "installed"; });
  client.reset();
  blessing.answer(true);
  EXPECT_THAT(log.lines, testing::IsEmpty());
}

using HelperClientDeathTest = HelperClientTest;

TEST_F(HelperClientDeathTest, IsCalledOnTheMainThreadOnly) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  runLoop.onMainThread = false;
  EXPECT_DEATH(client->getVersion([](const auto&) {}), "\\[NSThread isMainThread\\]");
  EXPECT_DEATH(client->install([](bool) {}), "\\[NSThread isMainThread\\]");
}

}  // namespace
}  // namespace quorlin
