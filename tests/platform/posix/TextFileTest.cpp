#include "fakes/TemporaryFolder.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

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

}  // namespace
}  // namespace quorlin
