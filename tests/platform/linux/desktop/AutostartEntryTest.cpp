#include "fakes/FakeLog.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/KeyFile.h"
#include "platform/linux/desktop/LoginItems.h"

#include <csignal>
#include <cstdlib>
#include <thread>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class AutostartEntryTest : public testing::Test {
 protected:
  AutostartEntryTest() { ::setenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME", 1); }
  ~AutostartEntryTest() override { ::unsetenv("XDG_CURRENT_DESKTOP"); }

  std::optional<Trouble> turn(bool on) { return setAutostart(entry_, program_, on, log_); }
  std::string text() const { return folder_.read(file_); }
  /// Empty for an entry that starts its program.
  std::string why() const {
    const std::optional<Trouble> trouble = whyNotStarted(entry_);
    return trouble ? trouble->text() : "";
  }

  TemporaryFolder folder_;
  std::filesystem::path file_ = "autostart/some.Program.desktop";
  std::filesystem::path entry_ = folder_.path() / file_;
  AutostartProgram program_{.name = "Some", .comment = "Does something", .program = "/bin/true"};
  FakeLog log_;
};

TEST_F(AutostartEntryTest, ComesWithItsFolderAndGoesWithoutATrace) {
  EXPECT_THAT(why(), HasSubstr("there is no"));
  EXPECT_FALSE(turn(false)) << "is off";
  EXPECT_FALSE(std::filesystem::exists(entry_.parent_path()));
  EXPECT_FALSE(turn(true));
  EXPECT_EQ(why(), "");
  EXPECT_THAT(text(), AllOf(HasSubstr("Exec=\"/bin/true\"\n"), Not(HasSubstr("Phase"))));
  EXPECT_FALSE(turn(false));
  EXPECT_FALSE(std::filesystem::exists(entry_));
}

TEST_F(AutostartEntryTest, IsSwitchedWithoutLosingWhatAPersonWroteIntoIt) {
  const struct {
    const char* line;
    const char* reason;  // while it is as the person wrote it
    const char* kept;    // once it is on
  } cases[] = {
      {"Exec=nice -n 5 /bin/true", "", "Exec=nice -n 5 /bin/true"},
      {"X-GNOME-Autostart-Delay=20", "", "X-GNOME-Autostart-Delay=20"},
      {"# mine", "", "# mine"},
      {"Hidden=true", "Hidden=true", "Name=Mine"},
      {"X-systemd-skip=true", "X-systemd-skip=true", "Name=Mine"},
      {"X-GNOME-Autostart-enabled=false", "enabled=false", "X-GNOME-Autostart-enabled=true"},
      {"OnlyShowIn=KDE;", "not for this desktop", "OnlyShowIn=KDE;ubuntu;"},
      {"OnlyShowIn=GNOME;", "", "OnlyShowIn=GNOME;"},
      {"NotShowIn=GNOME;XFCE;", "not for this desktop", "NotShowIn=XFCE;"},
      {"Exec=/nonexistent/program", "is not a program", "Exec=\"/bin/true\""},
      {"Exec=\"unbalanced", "no valid command", "Exec=\"/bin/true\""},
      {"TryExec=/nonexistent/program", "is not a program", "TryExec=/bin/true"},
      {"Type=Link", "not an application's", "Type=Application"},
  };
  for (const auto& [line, reason, kept] : cases) {
    SCOPED_TRACE(line);
    std::string contents = std::string("[Desktop Entry]\nName=Mine\n") + line + "\n";
    if (contents.find("Type=") == std::string::npos) contents += "Type=Application\n";
    if (contents.find("\nExec=") == std::string::npos) contents += "Exec=/bin/true\n";
    folder_.write(file_, contents);
    EXPECT_THAT(why(), HasSubstr(reason));
    EXPECT_EQ(why().empty(), *reason == '\0');
    EXPECT_FALSE(turn(true));
    EXPECT_EQ(why(), "");
    EXPECT_THAT(text(), AllOf(HasSubstr(kept), HasSubstr("Name=Mine")));
    const std::string on = text();
    EXPECT_FALSE(turn(false));
    EXPECT_THAT(why(), HasSubstr("Hidden=true"));
    EXPECT_FALSE(turn(true));
    EXPECT_EQ(text(), on);
  }
  EXPECT_THAT(log_.lines, IsEmpty());
}

TEST_F(AutostartEntryTest, KeepsNonsenseAsideAndALinkALink) {
  folder_.write(file_, "nonsense\n");
  EXPECT_THAT(why(), HasSubstr("malformed"));
  EXPECT_FALSE(turn(true));
  EXPECT_EQ(why(), "");
  EXPECT_EQ(folder_.read(file_.string() + ".unreadable"), "nonsense\n");
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("a copy is kept")));

  for (const bool dangles : {true, false}) {
    std::filesystem::remove(entry_);
    std::filesystem::remove_all(folder_.path() / "dotfiles");
    if (!dangles) folder_.write("dotfiles/some", "[Desktop Entry]\nHidden=true\n");
    std::filesystem::create_symlink("../dotfiles/some", entry_);
    EXPECT_FALSE(turn(true));
    EXPECT_TRUE(std::filesystem::is_symlink(entry_));
    EXPECT_EQ(why(), "");
    EXPECT_FALSE(turn(false));
    EXPECT_TRUE(std::filesystem::is_symlink(entry_));
    EXPECT_THAT(why(), HasSubstr("Hidden=true"));
  }
}

TEST_F(AutostartEntryTest, SaysWhatItCannotWriteAndLeavesTheOldEntryWhole) {
  const auto refused = [&](const char* what) {
    const std::optional<Trouble> trouble = turn(true);
    ASSERT_TRUE(trouble) << what;
    EXPECT_THAT(trouble->text(), HasSubstr(folder_.path().string())) << what;
  };
  folder_.write("autostart", "a file");
  refused("a file in place of the folder");
  EXPECT_EQ(turn(true)->text(),
            "the folder " + (folder_.path() / "autostart").string() + " cannot be made: Not a directory");
  std::filesystem::remove(folder_.path() / "autostart");
  std::filesystem::create_directories(entry_);
  refused("a folder in place of the entry");
  std::filesystem::remove(entry_);

  // As a full disk, and as a home folder that is not the user's to write, also for root.
  const std::string old = "[Desktop Entry]\nType=Application\nName=Mine\nHidden=true\n";
  folder_.write(file_, old);
  const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit nothing{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &nothing);
  refused("a full disk");
  ::setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, ignored);
  EXPECT_EQ(text(), old);
  EXPECT_THAT(std::vector(std::filesystem::directory_iterator(entry_.parent_path()), {}), testing::SizeIs(1))
      << "no half-written file stays";
}

TEST_F(AutostartEntryTest, TwoWritersLoseNothing) {
  folder_.write(file_, "[Desktop Entry]\nType=Application\nName=Mine\nX-Mine=kept\n");
  const auto toggle = [this] {
    FakeLog log;
    for (int i = 0; i < 100; ++i) EXPECT_FALSE(setAutostart(entry_, program_, i % 2 == 0, log));
    EXPECT_THAT(log.lines, IsEmpty());
  };
  std::thread other(toggle);
  toggle();
  other.join();
  EXPECT_THAT(text(), HasSubstr("X-Mine=kept"));
  // A change that another one overwrote would be missing.
  const auto count = [this](int writer) {
    for (int i = 0; i < 50; ++i) {
      changeKeyFile(entry_, [&](GKeyFile* file) {
        const std::string key = "X-" + std::to_string(writer);
        g_key_file_set_integer(file, "Desktop Entry", key.c_str(),
                               1 + g_key_file_get_integer(file, "Desktop Entry", key.c_str(), nullptr));
        return Changed::Contents;
      });
    }
  };
  std::thread second(count, 2);
  count(1);
  second.join();
  EXPECT_THAT(text(), AllOf(HasSubstr("X-1=50"), HasSubstr("X-2=50")));
}

TEST_F(AutostartEntryTest, ALoginItemIsAProgramOfTheBundle) {
  XdgLoginItems items("an.Item", "absent", log_, folder_.path());
  EXPECT_FALSE(items.setEnabled("an.Item", true));
  EXPECT_THAT(items.takeTrouble(), HasSubstr("absent is not an executable program"));
  EXPECT_EQ(items.takeTrouble(), "");
  EXPECT_FALSE(items.setEnabled("another.Item", true));
  EXPECT_EQ(log_.lines.size(), 2U);
}

}  // namespace
}  // namespace quorlin
