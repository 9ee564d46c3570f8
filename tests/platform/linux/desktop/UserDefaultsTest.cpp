#include "fakes/FakeLog.h"
#include "fakes/TemporaryFolder.h"
#include "platform/linux/desktop/UserDefaults.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class UserDefaultsTest : public testing::Test {
 protected:
  KeyFileUserDefaults open() { return {file_, log_}; }

  TemporaryFolder folder_;
  std::filesystem::path file_ = folder_.path() / "quorlin-sensors" / "settings.conf";
  FakeLog log_;
};

TEST_F(UserDefaultsTest, KeepsValuesForTheNextRun) {
  const Date date{std::chrono::microseconds(1'700'000'000'000'042)};
  {
    KeyFileUserDefaults defaults = open();
    defaults.setInteger("autostart", -7);
    defaults.setBoolean("powerLimitEnabled", true);
    defaults.setDate("lastUpdateCheck", date);
    defaults.setInteger("gone", 1);
    defaults.remove("gone");
  }
  const KeyFileUserDefaults defaults = open();
  EXPECT_EQ(defaults.integer("autostart"), -7);
  EXPECT_TRUE(defaults.boolean("powerLimitEnabled"));
  EXPECT_EQ(defaults.date("lastUpdateCheck"), date);
  EXPECT_EQ(defaults.integer("gone"), 0);
  EXPECT_THAT(log_.lines, IsEmpty());
}

TEST_F(UserDefaultsTest, ReadsWhatAPersonWrote) {
  folder_.write("quorlin-sensors/settings.conf",
                "\xEF\xBB\xBF[Settings]\none=1\nyes=yes\ntext=off\nhuge=99999999999999999999\nleading=12abc\n"
                "day=2026-11-22T10:00:00Z\nnoday=yesterday\n");
  const KeyFileUserDefaults defaults = open();
  EXPECT_EQ(defaults.integer("one"), 1);
  EXPECT_TRUE(defaults.boolean("one"));
  EXPECT_TRUE(defaults.boolean("yes"));
  EXPECT_EQ(defaults.integer("yes"), 1);
  EXPECT_FALSE(defaults.boolean("text"));
  EXPECT_EQ(defaults.integer("text"), 0);
  EXPECT_EQ(defaults.integer("huge"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(defaults.integer("leading"), 12);
  EXPECT_TRUE(defaults.date("day").has_value());
  EXPECT_EQ(defaults.date("noday"), std::nullopt);
  EXPECT_EQ(defaults.date("absent"), std::nullopt);
}

TEST_F(UserDefaultsTest, AChangeKeepsWhatAPersonHasWritten) {
  KeyFileUserDefaults defaults = open();
  defaults.setInteger("autostart", 1);
  folder_.write("quorlin-sensors/settings.conf",
                "# mine\n[Settings]\nautostart=0\nother=5\n[Window]\nx=1\nx[de]=2\n");
  defaults.setInteger("batterylimit", 80);
  EXPECT_THAT(folder_.read("quorlin-sensors/settings.conf"),
              AllOf(HasSubstr("# mine"), HasSubstr("autostart=0"), HasSubstr("other=5"),
                    HasSubstr("batterylimit=80"), HasSubstr("[Window]\nx=1\nx[de]=2")));
}

TEST_F(UserDefaultsTest, AMalformedFileIsKeptAsideBeforeItIsReplaced) {
  const std::pair<const char*, std::string> cases[] = {
      {"settings.conf.unreadable", "<<<<<<< mine\nautostart=1\n"},
      {"settings.conf.unreadable-2", "autostart=1 without a group\n"},
      {"settings.conf.unreadable-3", std::string(40, '\0')},
  };
  for (const auto& [aside, broken] : cases) {
    folder_.write("quorlin-sensors/settings.conf", broken);
    log_.lines.clear();
    KeyFileUserDefaults defaults = open();
    EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("settings.conf is malformed")));
    EXPECT_EQ(folder_.read("quorlin-sensors/settings.conf"), broken) << "reading changes nothing";
    defaults.setInteger("batterylimit", 80);
    EXPECT_EQ(folder_.read(std::filesystem::path("quorlin-sensors") / aside), broken);
    EXPECT_THAT(log_.lines.back(), HasSubstr(aside));
    EXPECT_EQ(open().integer("batterylimit"), 80);
  }
}

TEST_F(UserDefaultsTest, AFileThatCannotBeOpenedIsLeftAlone) {
  std::filesystem::create_directories(file_.parent_path());
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  KeyFileUserDefaults defaults = open();
  defaults.setInteger("batterylimit", 80);
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("not a regular file"), HasSubstr("not saved")));
  EXPECT_TRUE(std::filesystem::is_fifo(file_));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file_.parent_path()), {}), 1);
}

TEST_F(UserDefaultsTest, AFileOfMoreThanAMegabyteIsLeftAlone) {
  const std::string settings = "[Settings]\nautostart=1\n#";
  folder_.write("quorlin-sensors/settings.conf", settings + std::string(1'000'000 - settings.size(), 'x'));
  EXPECT_EQ(open().integer("autostart"), 1) << "as large as it may be";
  EXPECT_THAT(log_.lines, IsEmpty());
  // The last is larger than the memory.
  for (const std::uintmax_t size : {1'000'001ULL, 1ULL << 40U}) {
    log_.lines.clear();
    std::filesystem::resize_file(file_, size);
    KeyFileUserDefaults defaults = open();
    defaults.setInteger("batterylimit", 80);
    EXPECT_EQ(defaults.integer("autostart"), 0);
    const std::string trouble = file_.string() + " cannot be read: it is larger than 1 MB";
    EXPECT_THAT(log_.lines, ElementsAre("The settings are ignored: " + trouble,
                                        "The settings are not saved: " + trouble));
    EXPECT_EQ(std::filesystem::file_size(file_), size);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file_.parent_path()), {}), 1);
  }
}

TEST_F(UserDefaultsTest, WhatCannotBeStoredIsReportedAndKeptForTheRun) {
  folder_.write("quorlin-sensors", "a file where the folder would be");
  KeyFileUserDefaults defaults = open();
  log_.lines.clear();
  defaults.setInteger("batterylimit", 80);
  EXPECT_EQ(defaults.integer("batterylimit"), 80);
  EXPECT_THAT(log_.lines, ElementsAre(HasSubstr("not saved")));

  // Once there is a place for it, it is stored with the next change.
  std::filesystem::remove(folder_.path() / "quorlin-sensors");
  defaults.setInteger("autostart", 1);
  EXPECT_EQ(open().integer("batterylimit"), 80);
}

TEST_F(UserDefaultsTest, ALinkToTheSettingsStaysALink) {
  const std::filesystem::path target = folder_.write("dotfiles/settings.conf", "[Settings]\nautostart=1\n");
  std::filesystem::create_directories(file_.parent_path());
  std::filesystem::create_symlink(target, file_);
  open().setInteger("autostart", 0);
  EXPECT_TRUE(std::filesystem::is_symlink(file_));
  EXPECT_THAT(folder_.read("dotfiles/settings.conf"), HasSubstr("autostart=0"));

  std::filesystem::remove(target);
  open().setInteger("autostart", 1);
  EXPECT_TRUE(std::filesystem::is_symlink(file_)) << "also one that led nowhere";
  EXPECT_THAT(folder_.read("dotfiles/settings.conf"), HasSubstr("autostart=1"));
}

}  // namespace
}  // namespace quorlin
