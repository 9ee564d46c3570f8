#include "fakes/FakeLog.h"
#include "fakes/PrivateBus.h"
#include "platform/linux/bus/Bus.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "platform/linux/helper/HelperService.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/RunLoop.h"

#include <atomic>
#include <future>
#include <thread>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kName = "com.brellwick.Quorlin-Core-Helper";

/// Says what it was called with; a charge is refused for the key "refuse" and else left unanswered.
class OtherEnd {
 public:
  OtherEnd() {
    sd_bus_add_object(bus_->get(), nullptr, helperprotocol::kPath, called, nullptr);
    sd_bus_request_name(bus_->get(), kName, 0);
  }

  void leave() {
    source_.reset();
    bus_.reset();
  }

 private:
  static int called(sd_bus_message* message, void* /*self*/, sd_bus_error* error) {
    if (sd_bus_message_is_method_call(message, helperprotocol::kInterface, nullptr) <= 0) return 0;
    std::string text = sd_bus_message_get_member(message);
    const auto addStrings = [&] {
      const char* argument = nullptr;
      while (sd_bus_message_read_basic(message, 's', &argument) > 0) text.append(" ").append(argument);
    };
    addStrings();
    if (sd_bus_message_enter_container(message, 'a', "s") > 0) addStrings();
    int mode = 0;
    if (sd_bus_message_read_basic(message, 'b', &mode) > 0)
      return text.ends_with("refuse") ? sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, "not you") : 1;
    // Whether polkit may ask a person for a password.
    if (sd_bus_message_get_allow_interactive_authorization(message) > 0) text += " interactively";
    return sd_bus_reply_method_return(message, "s", text.c_str());
  }

  std::optional<Bus> bus_{Bus::openSystem()};
  std::optional<BusSource> source_{std::in_place, *bus_};
};

struct HelperServiceTest : testing::Test {
  HelperServiceTest() {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1);
    connect();
  }

  void connect() {
    connection = service.makeConnection(kName);
    connection->setInvalidationHandler([this] { ++invalidations; });
    connection->resume();
  }

  void expectAnswers(const std::vector<std::string>& expected) {
    EXPECT_TRUE(runUntil([&] { return answers.size() >= expected.size(); }));
    EXPECT_EQ(answers, expected);
  }

  PrivateBus daemon;
  LinuxRunLoop runLoop;
  FakeLog log;
  std::vector<std::string> answers;
  const HelperToolConnection::StringReply reply = [this](const std::string& text) {
    answers.push_back(text);
  };
  const HelperToolConnection::ErrorHandler failed = [this] { answers.emplace_back("failed"); };
  int invalidations = 0;
  BusHelperService service{runLoop, log};
  std::unique_ptr<HelperToolConnection> connection;
};

TEST_F(HelperServiceTest, CarriesArgumentsAndAnswers) {
  const OtherEnd helper;
  connection->getVersion(reply, failed);
  connection->getCoreMetrics("0123abcd", {"--samplers", "", "ä"}, reply, failed);
  connection->connectWithEndpoint(reply, failed);
  EXPECT_THAT(answers, IsEmpty()) << "answered before the call returned";
  expectAnswers({"GetVersion", "GetCoreMetrics 0123abcd --samplers  ä", "ConnectWithEndpoint"});
  answers.clear();
  connection->uninstallHelper("0123abcd", reply, failed);
  expectAnswers({"UninstallHelper 0123abcd interactively"});
  EXPECT_EQ(invalidations, 0);
}

TEST_F(HelperServiceTest, ARefusalIsAFailureWithALineAndLeavesTheConnection) {
  const OtherEnd helper;
  connection->limitCharge("refuse", false, reply, failed);
  expectAnswers({"failed"});
  EXPECT_THAT(log.lines, ElementsAre("core helper: LimitCharge: not you"));
  connection->limitCharge("refuse", false, reply, failed);
  connection->getVersion(reply, failed);
  expectAnswers({"failed", "failed", "GetVersion"});
  EXPECT_EQ(log.lines.size(), 1U) << "said again";
  EXPECT_EQ(invalidations, 0);
}

TEST_F(HelperServiceTest, AReleaseThatIsRefusedOrLateEndsTheConnectionWhichHolds) {
  const OtherEnd helper;
  for (const char* key : {"refuse", "silent"}) {
    answers.clear();
    invalidations = 0;
    connect();
    connection->limitCharge(key, true, reply, failed);
    expectAnswers({"failed"});
    EXPECT_EQ(invalidations, 1) << key;
  }
}

TEST_F(HelperServiceTest, ARemovalOutlivesItsConnectionAndIsAwaited) {
  std::promise<void> isThere;
  std::atomic<bool> hasAnswered = false;
  std::thread helper([&] {
    const Bus bus = Bus::openSystem();
    sd_bus_request_name(bus.get(), kName, 0);
    isThere.set_value();
    sd_bus_message* message = nullptr;
    while (message == nullptr || sd_bus_message_is_method_call(message, nullptr, "UninstallHelper") <= 0) {
      sd_bus_message_unref(message);
      if (sd_bus_process(bus.get(), &message) == 0) sd_bus_wait(bus.get(), UINT64_MAX);
    }
    const BusMessage call(message);
    hasAnswered = true;
    sd_bus_reply_method_return(message, "s", "being removed");
  });
  isThere.get_future().wait();
  connection->uninstallHelper("key", reply, failed);
  connection.reset();
  EXPECT_THAT(answers, ElementsAre("failed"));
  service.awaitRemovals();
  EXPECT_TRUE(hasAnswered);
  EXPECT_EQ(answers.size(), 1U) << "failed, then answered";
  helper.join();
}

TEST_F(HelperServiceTest, AHelperThatIsNotThereFailsTheMessageAndTheConnectionOnce) {
  connection->getVersion(reply, failed);
  connection->uninstallHelper("key", reply, failed);
  expectAnswers({"failed", "failed"});
  EXPECT_EQ(invalidations, 1);
}

TEST_F(HelperServiceTest, AHelperThatLeavesFailsWhatIsOpenAndTheConnection) {
  OtherEnd helper;
  connection->getVersion(reply, failed);
  connection->limitCharge("key", false, reply, failed);
  expectAnswers({"GetVersion"});
  helper.leave();
  expectAnswers({"GetVersion", "failed"});
  ASSERT_TRUE(runUntil([&] { return invalidations == 1; }));

  const OtherEnd another;
  connect();
  connection->getVersion(reply, failed);
  expectAnswers({"GetVersion", "failed", "GetVersion"});
}

TEST_F(HelperServiceTest, AConnectionThatWaitsForNothingEndsWithTheHelperAndWithTheBus) {
  for (const bool bus : {false, true}) {
    std::optional<OtherEnd> helper(std::in_place);
    connect();
    answers.clear();
    connection->getVersion(reply, failed);
    expectAnswers({"GetVersion"});
    bus ? daemon.stop() : helper->leave();
    ASSERT_TRUE(runUntil([&] { return invalidations == (bus ? 2 : 1); }));
  }
}

TEST_F(HelperServiceTest, ADestroyedConnectionFailsWhatIsOpen) {
  const OtherEnd helper;
  connection->limitCharge("key", false, reply, failed);
  connection.reset();
  EXPECT_THAT(answers, ElementsAre("failed"));
  EXPECT_EQ(invalidations, 0);
}

TEST_F(HelperServiceTest, WithoutASystemBusEveryMessageFails) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  connect();
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("connect to the system bus")));
  connection->getVersion(reply, failed);
  EXPECT_THAT(answers, IsEmpty()) << "answered before the call returned";
  expectAnswers({"failed"});
  EXPECT_EQ(invalidations, 1);

  connection->getVersion(reply, failed);
  connection.reset();
  EXPECT_THAT(answers, ElementsAre("failed", "failed"));
  while (g_main_context_iteration(nullptr, FALSE) == TRUE) {
  }
  EXPECT_EQ(answers.size(), 2U) << "failed twice";
}

}  // namespace
}  // namespace quorlin
