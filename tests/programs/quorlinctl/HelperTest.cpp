#include "fakes/PrivateBus.h"
#include "helper/HelperTool.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "programs/quorlinctl/FakeService.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/services/Helper.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::HasSubstr;

struct FakeHelper {
  static int answer(sd_bus_message* message, void* userdata, sd_bus_error* error) {
    const std::string& errorName = static_cast<FakeHelper*>(userdata)->errorName;
    if (!errorName.empty()) return sd_bus_error_set(error, errorName.c_str(), "because");
    if (std::string_view(sd_bus_message_get_member(message)) == "GetVersion") {
      return sd_bus_reply_method_return(message, "s", "1.2");
    }
    const char* key = nullptr;
    sd_bus_message_read_basic(message, 's', &key);
    const bool interactive = sd_bus_message_get_allow_interactive_authorization(message) > 0;
    return sd_bus_reply_method_return(message, "s", interactive ? key : "asked without a person");
  }

  std::string errorName;
  FakeService service{sd_bus_open_system, kHelperLabel.data(), helperprotocol::kPath, answer, this};
};

/// A private bus in the system bus's place.
struct SystemBus : PrivateBus {
  SystemBus() { setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1); }
};

TEST(Helper, IsToldFromOneThatIsAbsentRefusesOrFails) {
  using enum HelperRefusal::Kind;
  using Text = std::string_view;
  const std::tuple<std::string, std::optional<HelperRefusal::Kind>, CheckState, Text, Text> cases[] = {
      {"", std::nullopt, CheckState::Ok, "Version 1.2", ""},
      {SD_BUS_ERROR_ACCESS_DENIED, NotAllowed, CheckState::Missing, "may not use it (because)", "polkit"},
      {SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED, NotAllowed, CheckState::Missing, "(because)",
       "polkit"},
      {"org.freedesktop.DBus.Error.Spawn.ExecFailed", Failed, CheckState::Missing, "(because)", "journalctl"},
  };
  for (const auto& [error, kind, state, finding, advice] : cases) {
    const SystemBus daemon;
    const FakeHelper helper{.errorName = error};
    const Bus bus = Bus::openSystem();
    const Finding check = checkHelper(bus);
    EXPECT_EQ(check.state, state) << error;
    EXPECT_THAT(check.text, HasSubstr(finding));
    EXPECT_THAT(check.advice, HasSubstr(advice));
    const Result<std::string, HelperRefusal> answer = askHelperToUninstall(bus, "89abcdef");
    EXPECT_EQ(answer ? std::nullopt : std::optional(answer.error().kind), kind) << error;
    EXPECT_EQ(answer ? *answer : answer.error().reason, kind ? "because" : "89abcdef");
  }
  const SystemBus daemon;
  const Bus bus = Bus::openSystem();
  EXPECT_EQ(askHelperToUninstall(bus, "").error().kind, NotInstalled);
  EXPECT_EQ(checkHelper(bus).advice, "Install it with 'quorlinctl helper install'.");
}

TEST(Polkit, IsThereWhenItsNameIsOwned) {
  const SystemBus daemon;
  const Bus bus = Bus::openSystem();
  EXPECT_THAT(checkPolkit(bus).advice, HasSubstr("polkitd"));
  ASSERT_GE(sd_bus_request_name(bus.get(), "org.freedesktop.PolicyKit1", 0), 0);
  EXPECT_EQ(checkPolkit(bus).state, CheckState::Ok);
}

}  // namespace
}  // namespace quorlin
