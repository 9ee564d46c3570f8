#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/HelperInstaller.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/FakeService.h"
#include "quorlinctl/Helper.h"

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

  static const sd_bus_vtable* table() {
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("GetVersion", nullptr, "s", answer, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("UninstallHelper", "s", "s", answer, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    return table;
  }

  static sd_bus* connection() {
    sd_bus* bus = nullptr;
    sd_bus_open_system(&bus);
    return bus;
  }

  std::string errorName;
  FakeService service{connection(),
                      "com.brellwick.Quorlin-Core-Helper",
                      "/com/brellwick/QuorlinCoreHelper",
                      "com.brellwick.HelperToolProtocol",
                      table(),
                      this};
};

/// A private bus in the system bus's place.
class SystemBus {
 public:
  SystemBus() { setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1); }
  ~SystemBus() { unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); }
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

 private:
  PrivateBus daemon_;
};

TEST(Helper, IsToldFromOneThatIsAbsentRefusesOrFails) {
  using enum HelperAnswer::Kind;
  const struct {
    std::string error;
    HelperAnswer::Kind kind;
    CheckState state;
    std::string_view finding;
    std::string_view advice;
  } cases[] = {
      {"", Answered, CheckState::Ok, "version 1.2", ""},
      {SD_BUS_ERROR_ACCESS_DENIED, NotAllowed, CheckState::Missing, "may not ask it (because)", "polkit"},
      {SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED, NotAllowed, CheckState::Missing, "(because)",
       "polkit"},
      {"org.freedesktop.DBus.Error.Spawn.ExecFailed", Failed, CheckState::Missing, "(because)", "journalctl"},
  };
  for (const auto& [error, kind, state, finding, advice] : cases) {
    const SystemBus daemon;
    const FakeHelper helper{.errorName = error};
    const Bus bus = Bus::openSystem();
    const CheckResult check = checkHelper(bus);
    EXPECT_EQ(check.state, state) << error;
    EXPECT_THAT(check.finding, HasSubstr(finding));
    EXPECT_THAT(check.advice, HasSubstr(advice));
    const HelperAnswer answer = askHelperToUninstall(bus, "89abcdef");
    EXPECT_EQ(answer.kind, kind) << error;
    EXPECT_EQ(answer.text, kind == Answered ? "89abcdef" : "because");
  }
  const SystemBus daemon;
  const Bus bus = Bus::openSystem();
  EXPECT_EQ(askHelperToUninstall(bus, "").kind, NotInstalled);
  EXPECT_EQ(checkHelper(bus).advice, "quorlinctl helper install");
}

TEST(Polkit, IsThereWhenItsNameIsOwned) {
  const SystemBus daemon;
  const Bus bus = Bus::openSystem();
  EXPECT_THAT(checkPolkit(bus).advice, HasSubstr("polkitd"));
  ASSERT_GE(sd_bus_request_name(bus.get(), "org.freedesktop.PolicyKit1", 0), 0);
  EXPECT_EQ(checkPolkit(bus).state, CheckState::Ok);
}

TEST(HelperInstaller, FindsTheHelperThatCameWithTheProgram) {
  const TemporaryFolder folder;
  const auto program = [&](const char* file) {
    const std::filesystem::path path = folder.write(file, "#!/bin/sh\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  };
  EXPECT_EQ(bundledHelper(folder.path() / "bin"), "");
  folder.write("bin/quorlin-core-helper", "not executable");
  const auto installed = program("libexec/quorlin-sensors/quorlin-core-helper");
  EXPECT_EQ(bundledHelper(folder.path() / "bin"), installed);
  const auto built = program("bin/quorlin-core-helper");
  EXPECT_EQ(bundledHelper(folder.path() / "bin"), built);
}

TEST(HelperInstaller, RunsTheHelperThroughPkexecUnlessRootRunsIt) {
  const TemporaryFolder folder;
  const auto program = [&](const char* file, const std::string& text) {
    const std::filesystem::path path = folder.write(file, "#!/bin/sh\n" + text);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  };
  const std::string log = (folder.path() / "log").native();
  const auto helper = program("helper", "echo helper \"$@\" >>" + log + "; exit 3");
  const std::string path = std::getenv("PATH");
  setenv("PATH", folder.path().c_str(), 1);
  EXPECT_EQ(runHelperInstaller(helper, false), 127) << "there is no pkexec";
  program("pkexec", "echo pkexec >>" + log + "; exec \"$@\"");
  EXPECT_EQ(runHelperInstaller(helper, false), 3);
  EXPECT_EQ(folder.read("log"), "pkexec\nhelper --install\n");
  EXPECT_EQ(runHelperInstaller(helper, true), 3);
  EXPECT_EQ(folder.read("log"), "pkexec\nhelper --install\nhelper --install\n");
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(runHelperInstaller(program("killed", "kill -TERM $$"), true), 128 + SIGTERM);
  EXPECT_EQ(runHelperInstaller(folder.path() / "absent", true), 127);
}

}  // namespace
}  // namespace quorlin
