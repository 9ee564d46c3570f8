#include "fakes/TemporaryFolder.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Utf8.h"

#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

TEST(TextFile, IsItsFirstPageWithoutTheSpaceAroundIt) {
  const TemporaryFolder folder;
  EXPECT_EQ(readText(folder.write("file", " \n4200\n\0")).value_or("trouble"), "4200");
  EXPECT_EQ(readText(folder.write("empty", "")).value_or("trouble"), "");
  EXPECT_EQ(readText(folder.write("long", std::string(5000, 'x'))).value_or("").size(), 4096U);
  EXPECT_EQ(readText("/proc/self/comm").value_or("trouble"), "test-linux");
  EXPECT_EQ(readText(folder.path() / "absent").error().error, ENOENT);
}

TEST(TextFile, APipeIsATroubleAndKeepsNobodyWaiting) {
  const TemporaryFolder folder;
  const std::string pipe = folder.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string trouble = pipe + " cannot be read: it is not a regular file";
  EXPECT_EQ(readText(pipe).error().text(), trouble) << "nobody writes";
  const FileDescriptor writer(open(pipe.c_str(), O_RDWR | O_CLOEXEC));
  EXPECT_EQ(readText(pipe).error().text(), trouble) << "nothing is written";
  ASSERT_EQ(write(writer.get(), "42", 2), 2);
  EXPECT_EQ(readText(pipe).error().text(), trouble) << "the text is meant for another";
}

TEST(TextFile, ForeignTextCannotDriveATerminal) {
  struct Case {
    std::string_view bytes;
    std::string_view shown;
    /// With line ends kept.
    std::string_view printed;
  };
  const Case cases[] = {
      {"plain é 日本", "plain é 日本", "plain é 日本"},
      {"\x1b[31mred\x07", "[31mred", " [31mred "},
      {"one\ntwo\r\n\tthree", "one two   three", "one\ntwo \n three"},
      {"a\u0080\u009B\u009F\x7F\u00A0z", "a    \u00A0z", "a    \u00A0z"},
      {"a\u061C\u200E\u200F\u2028\u2029\u202A\u202E\u2066\u2069z", "az", "az"},
      {"\u200B\u200D\u2027\u202F\u2065\u206A", "\u200B\u200D\u2027\u202F\u2065\u206A",
       "\u200B\u200D\u2027\u202F\u2065\u206A"},
      {"a\x9B\xC2", "a\uFFFD\uFFFD", "a\uFFFD\uFFFD"},
      {std::string_view("a\0z", 3), "a z", "a z"},
  };
  for (const auto& [bytes, shown, printed] : cases) {
    EXPECT_EQ(displayText(bytes), shown);
    EXPECT_EQ(withoutTerminalControls(bytes, "\n"), printed);
  }
}

TEST(TextFile, AnExcerptOfForeignTextIsShort) {
  const std::string characters = "é€\n🌡";
  EXPECT_EQ(excerpt(characters, 4), "é€ 🌡");
  EXPECT_EQ(excerpt(characters, 3), "é€ …");
  EXPECT_EQ(excerpt("", 0), "");
  EXPECT_EQ(excerpt(std::string(4000, 'x')), std::string(100, 'x') + "…");
}

}  // namespace
}  // namespace quorlin
