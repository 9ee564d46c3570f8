#include "fakes/FakeLog.h"
#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/bus/Bus.h"
#include "platform/linux/helper/HelperInstaller.h"
#include "platform/linux/helper/JobBlessing.h"
#include "platform/linux/loop/RunLoop.h"
#include "platform/posix/FileDescriptor.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = InstallerOutcome::Kind;

/// A pkexec and a helper that the test writes; the only pkexec on the PATH.
struct HelperInstallerTest : testing::Test {
  TemporaryFolder folder;
  std::filesystem::path bundle = folder.path() / "libexec";
  std::filesystem::path helper = bundle / kHelperFileName;
  std::string pathBefore = std::getenv("PATH");
  LinuxRunLoop runLoop;
  FakeLog log;
  std::vector<bool> completed;

  HelperInstallerTest() {
    script("libexec/quorlin-core-helper", "echo \"$1\" >> \"$0.run\"; echo a warning >&2\n");
    setenv("PATH", ((folder.path() / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
  }
  ~HelperInstallerTest() override {
    setenv("PATH", pathBefore.c_str(), 1);
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
  }

  void script(const std::string& file, const std::string& text) {
    chmod(folder.write(file, "#!/bin/sh\n" + text).c_str(), S_IRWXU);
  }
  void pkexec(const std::string& text) { script("bin/pkexec", text); }

  InstallerOutcome outcomeWithoutWaiting(bool isRoot) {
    std::optional<InstallerOutcome> found;
    startHelperInstaller(
        helper, runLoop, [&](const InstallerOutcome& outcome) { found = outcome; }, isRoot);
    EXPECT_FALSE(found) << "completed before the return";
    EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
    return found.value_or(InstallerOutcome{Kind::NotStarted, -1});
  }

  void bless(LinuxJobBlessing& blessing) {
    blessing.bless("", nullptr, [this](bool installed) { completed.push_back(installed); });
    EXPECT_THAT(completed, IsEmpty()) << "completed before the return";
  }
};

/// As polkit 122 words them.
std::string says(const std::string& words, int status) {
  return "echo \"" + words + "\" >&2; exit " + std::to_string(status) + "\n";
}

TEST_F(HelperInstallerTest, SaysWhatIsMissingAndWhatMendsIt) {
  PrivateBus daemon;
  const std::string address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  const Bus polkit = Bus::openSession();
  const std::string direct = "; try: sudo " + helper.string() + " --install";
  const std::string failure = "Error executing command as another user: ";
  struct Case {
    std::string pkexec;
    Kind kind;
    int status;
    std::string reason;
    bool hasPolkit = true;
    bool hasBus = true;
  };
  const Case cases[] = {
      {"echo \"$@\" > \"$0.run\"; exec \"$@\"\n", Kind::Installed, 0, ""},
      {says(failure + "Request dismissed", 126), Kind::PermissionRefused, 126, "permission was refused"},
      {says(failure + "Not authorized\n\nThis incident has been reported.", 127), Kind::NotAuthorized, 127,
       "polkit gave no permission" + direct},
      {says(failure + "No authentication agent found.", 127), Kind::NobodyToAsk, 127, direct},
      {says("Error creating textual authentication agent: Error opening current controlling terminal", 127),
       Kind::NobodyToAsk, 127, "no polkit authentication agent runs in this session"},
      {says("Error getting authority: Could not connect: No such file or directory", 127), Kind::NoSystemBus,
       127, "no system bus, which the core helper needs; install it with: sudo apt install dbus", false,
       false},
      {says("Error checking authorization: The name is unknown", 127), Kind::NoPolkit, 127,
       "polkit, which gives permission, is not on the system bus; install it with: sudo apt install polkitd",
       false},
      {says("pkexec must be setuid root", 127), Kind::Failed, 127, "127: pkexec must be setuid root"},
      {says("no space", 69), Kind::Failed, 69, "the installer failed with exit status 69: no space"},
      {"kill $$\n", Kind::Failed, 128 + SIGTERM, "the installer failed with exit status 143"},
      {"", Kind::NoPkexec, 127, "pkexec, which asks for permission, is not installed" + direct}};
  for (const Case& given : cases) {
    pkexec(given.pkexec);
    if (given.pkexec.empty()) setenv("PATH", folder.path().c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", given.hasBus ? address.c_str() : "unix:path=/nonexistent", 1);
    constexpr const char* name = "org.freedesktop.PolicyKit1";
    if (given.hasPolkit) sd_bus_request_name(polkit.get(), name, 0);
    for (const InstallerOutcome& found : {runHelperInstaller(helper, false), outcomeWithoutWaiting(false)}) {
      EXPECT_EQ(found.kind, given.kind) << given.pkexec << found.complaint;
      EXPECT_EQ(found.status, given.status) << given.pkexec;
      EXPECT_THAT(given.status == 0 ? "" : found.reason(helper), HasSubstr(given.reason));
    }
    if (given.hasPolkit) sd_bus_release_name(polkit.get(), name);
  }
  EXPECT_EQ(folder.read("bin/pkexec.run"), helper.string() + " --install\n");
  EXPECT_EQ(folder.read("libexec/quorlin-core-helper.run"), "--install\n--install\n");
}

TEST_F(HelperInstallerTest, RunsTheHelperItselfAsRoot) {
  pkexec("exit 1\n");
  for (const auto& [end, kind, status] : {std::tuple("exit 0", Kind::Installed, 0),
                                          {"exit 126", Kind::Failed, 126},
                                          {"exit 127", Kind::Failed, 127}}) {
    script("libexec/quorlin-core-helper", "echo \"$1\" >&2; " + std::string(end));
    for (const InstallerOutcome& found : {runHelperInstaller(helper, true), outcomeWithoutWaiting(true)}) {
      EXPECT_EQ(found.kind, kind) << end;
      EXPECT_EQ(found.status, status) << end;
      EXPECT_EQ(found.complaint, "--install");
    }
  }
}

/// pkexec waits for a password until the test writes a line, away from the agent's terminal. So does the
/// helper, which root runs without it.
struct TypingAPassword : HelperInstallerTest {
  std::filesystem::path shown = folder.path() / "prompt.shown";
  FileDescriptor password;
  LinuxJobBlessing blessing{runLoop, log, bundle};

  TypingAPassword() {
    const std::string prompt = (folder.path() / "prompt").string();
    mkfifo(prompt.c_str(), S_IRWXU);
    password = FileDescriptor(open(prompt.c_str(), O_RDWR | O_CLOEXEC));
    const std::string text = "test $(ps -o sid= -p $$) = $$ || exit 3\ntouch " + shown.string() +
                             "\ntest \"$(timeout 60 head -n 1 " + prompt + ")\" = right || exit 69\n";
    pkexec(text);
    script("libexec/quorlin-core-helper", text);
  }

  bool isAsked() const { return std::filesystem::exists(shown); }
  void type(std::string_view line) const {
    EXPECT_EQ(write(password.get(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
  }
  static void runWhatIsReady() {
    while (g_main_context_iteration(nullptr, FALSE) != 0) {
    }
  }
};

TEST_F(TypingAPassword, DoesNotStopTheMainLoop) {
  for (const bool isRight : {true, false}) {
    completed.clear();
    bless(blessing);
    int beats = 0;
    auto heart = runLoop.scheduleTimer(std::chrono::milliseconds(10), [&] { ++beats; });
    ASSERT_TRUE(runUntil([&] { return isAsked() && beats >= 20; }));
    heart.reset();
    EXPECT_THAT(completed, IsEmpty());
    EXPECT_THAT(log.lines, IsEmpty());
    type(isRight ? "right\n" : "wrong\n");
    ASSERT_TRUE(runUntil([&] { return !completed.empty(); }));
    runWhatIsReady();
    EXPECT_THAT(completed, ElementsAre(isRight));
    std::filesystem::remove(shown);
  }
  EXPECT_THAT(log.lines, ElementsAre("the installer failed with exit status 69"));
}

TEST_F(TypingAPassword, CompletesNothingOnceTheBlessingIsGone) {
  std::optional<LinuxJobBlessing> shortLived{std::in_place, runLoop, log, bundle};
  std::optional<LinuxJobBlessing> without{std::in_place, runLoop, log, folder.path()};
  bless(*shortLived);
  bless(*without);
  shortLived.reset();
  without.reset();
  type("right\n");
  siginfo_t child{};
  EXPECT_TRUE(runUntil([&] { return waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != 0; }))
      << "reaped";
  runWhatIsReady();
  EXPECT_THAT(completed, IsEmpty());
}

TEST_F(HelperInstallerTest, NeedsTheHelperOfTheBundle) {
  LinuxJobBlessing blessing(runLoop, log, folder.path());
  bless(blessing);
  ASSERT_TRUE(runUntil([&] { return !completed.empty(); }));
  EXPECT_THAT(completed, ElementsAre(false));
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("quorlin-core-helper is not an executable program")));
}

}  // namespace
}  // namespace quorlin
