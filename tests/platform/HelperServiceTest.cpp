#include "fakes/FakeMachine.h"
#include "fakes/PrivateBus.h"
#include "platform/linux/Bus.h"
#include "platform/linux/HelperProtocol.h"
#include "platform/linux/HelperService.h"
#include "platform/linux/RunLoop.h"

#include <array>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kName = "com.brellwick.Quorlin-Core-Helper";

/// Says what it was called with, or refuses, or keeps silent.
class OtherEnd {
 public:
  OtherEnd() {
    static const std::array<sd_bus_vtable, 7> table = {
        {SD_BUS_VTABLE_START(0),
         SD_BUS_METHOD("ConnectWithEndpoint", nullptr, "s", patience, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_METHOD("UninstallHelper", "s", "s", patience, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_METHOD("GetVersion", nullptr, "s", version, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_METHOD("GetCoreMetrics", "sas", "s", metrics, SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_METHOD("LimitCharge", "sb", "s", charge, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END}};
    sd_bus_add_object_vtable(bus_->get(), nullptr, helperprotocol::kPath, helperprotocol::kInterface,
                             table.data(), nullptr);
    sd_bus_request_name(bus_->get(), kName, 0);
  }

  void leave() { bus_.reset(); }

 private:
  static int version(sd_bus_message* message, void* /*self*/, sd_bus_error* /*error*/) {
    return sd_bus_reply_method_return(message, "s", "1.2.3");
  }

  /// Whether a person may be asked for a password meanwhile.
  static int patience(sd_bus_message* message, void* /*self*/, sd_bus_error* /*error*/) {
    const bool interactive = sd_bus_message_get_allow_interactive_authorization(message) > 0;
    return sd_bus_reply_method_return(message, "s", interactive ? "interactive" : "alone");
  }

  static int metrics(sd_bus_message* message, void* /*self*/, sd_bus_error* /*error*/) {
    const char* key = nullptr;
    char** params = nullptr;
    sd_bus_message_read(message, "s", &key);
    sd_bus_message_read_strv(message, &params);
    std::string text = key;
    for (char** param = params; param != nullptr && *param != nullptr; ++param)
      text += std::string(" ") + *param;
    g_strfreev(params);
    return sd_bus_reply_method_return(message, "s", text.c_str());
  }

  static int charge(sd_bus_message* message, void* /*self*/, sd_bus_error* error) {
    int mode = 0;
    sd_bus_message_read(message, "sb", nullptr, &mode);
    if (mode != 0) return sd_bus_error_set(error, SD_BUS_ERROR_ACCESS_DENIED, "not you");
    return 1;  // no answer
  }

  std::optional<Bus> bus_{Bus::openSystem()};
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

  HelperToolConnection::StringReply reply() {
    return [this](std::string text) { answers.push_back(std::move(text)); };
  }
  HelperToolConnection::ErrorHandler failed() {
    return [this] { answers.emplace_back("failed"); };
  }
  bool waitForAnswers(std::size_t count) {
    return runUntil([&] { return answers.size() >= count; });
  }

  PrivateBus daemon;
  LinuxRunLoop runLoop;
  FakeLog log;
  std::vector<std::string> answers;
  int invalidations = 0;
  BusHelperService service{runLoop, log};
  std::unique_ptr<HelperToolConnection> connection;
};

TEST_F(HelperServiceTest, CarriesArgumentsAndAnswers) {
  const OtherEnd helper;
  connection->getVersion(reply(), failed());
  connection->getCoreMetrics("0123abcd", {"--samplers", "", "ä"}, reply(), failed());
  connection->connectWithEndpoint(reply(), failed());
  connection->uninstallHelper("0123abcd", reply(), failed());
  EXPECT_THAT(answers, IsEmpty()) << "answered before the call returned";
  ASSERT_TRUE(waitForAnswers(4));
  EXPECT_THAT(answers, ElementsAre("1.2.3", "0123abcd --samplers  ä", "alone", "interactive"));
  EXPECT_EQ(invalidations, 0);
}

TEST_F(HelperServiceTest, ARefusalIsAFailureWithALineAndLeavesTheConnection) {
  const OtherEnd helper;
  connection->limitCharge("key", true, reply(), failed());
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_THAT(answers, ElementsAre("failed"));
  EXPECT_THAT(log.lines, ElementsAre("core helper: LimitCharge: not you"));
  connection->limitCharge("key", true, reply(), failed());
  connection->getVersion(reply(), failed());
  ASSERT_TRUE(waitForAnswers(3));
  EXPECT_EQ(log.lines.size(), 1U) << "said again";
  EXPECT_EQ(invalidations, 0);
}

TEST_F(HelperServiceTest, AHelperThatIsNotThereFailsTheMessageAndTheConnectionOnce) {
  connection->getVersion(reply(), failed());
  connection->uninstallHelper("key", reply(), failed());
  ASSERT_TRUE(waitForAnswers(2));
  EXPECT_THAT(answers, ElementsAre("failed", "failed"));
  EXPECT_EQ(invalidations, 1);
}

TEST_F(HelperServiceTest, AHelperThatLeavesFailsWhatIsOpenAndTheConnection) {
  OtherEnd helper;
  connection->getVersion(reply(), failed());
  connection->limitCharge("key", false, reply(), failed());
  ASSERT_TRUE(waitForAnswers(1));
  helper.leave();
  ASSERT_TRUE(waitForAnswers(2));
  EXPECT_THAT(answers, ElementsAre("1.2.3", "failed"));
  ASSERT_TRUE(runUntil([&] { return invalidations == 1; }));

  const OtherEnd another;
  connect();
  connection->getVersion(reply(), failed());
  ASSERT_TRUE(waitForAnswers(3));
  EXPECT_EQ(answers.back(), "1.2.3");
}

TEST_F(HelperServiceTest, AConnectionThatWaitsForNothingEndsWithTheHelperAndWithTheBus) {
  for (const bool bus : {false, true}) {
    std::optional<OtherEnd> helper(std::in_place);
    connect();
    answers.clear();
    connection->getVersion(reply(), failed());
    ASSERT_TRUE(waitForAnswers(1));
    bus ? daemon.stop() : helper->leave();
    ASSERT_TRUE(runUntil([&] { return invalidations == (bus ? 2 : 1); }));
  }
}

TEST_F(HelperServiceTest, ADestroyedConnectionFailsWhatIsOpen) {
  const OtherEnd helper;
  connection->limitCharge("key", false, reply(), failed());
  connection.reset();
  EXPECT_THAT(answers, ElementsAre("failed"));
  EXPECT_EQ(invalidations, 0);
}

TEST_F(HelperServiceTest, WithoutASystemBusEveryMessageFails) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  connect();
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("connect to the system bus")));
  connection->getVersion(reply(), failed());
  EXPECT_THAT(answers, IsEmpty()) << "answered before the call returned";
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_THAT(answers, ElementsAre("failed"));
  EXPECT_EQ(invalidations, 1);

  connection->getVersion(reply(), failed());
  connection.reset();
  EXPECT_THAT(answers, ElementsAre("failed", "failed"));
  while (g_main_context_iteration(nullptr, FALSE) == TRUE) {
  }
  EXPECT_EQ(answers.size(), 2U) << "failed twice";
}

}  // namespace
}  // namespace quorlin
