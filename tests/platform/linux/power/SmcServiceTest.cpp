#include "fakes/TemporaryFolder.h"
#include "platform/linux/power/SmcService.h"
#include "platform/posix/FileDescriptor.h"
#include "probes/SmcClient.h"

#include <cerrno>
#include <functional>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

namespace quorlin {
namespace {

struct Key {
  std::string name;
  std::string type;
  std::string data;
};

/// What laptops had, by what is commonly known of their keys; sorted.
const std::vector<Key> kKeys = {{"#KEY", "ui32", {"\0\0\0\7", 4}},
                                {"F0Ac", "fpe2", "\x17\x70"},
                                {"F0ID", "{fds", {"\0\0\0\0Left side   ", 16}},
                                {"F1Ac", "flt ", {"\0\0\xC8\x44", 4}},
                                {"FNum", "ui8", "\2"},
                                {"RPlt", "ch8*", std::string(32, 'j')},
                                {"TC0P", "sp78", {"\x28\0", 2}}};
const Key kNum = kKeys[4];

/// Writes of indexes go to this instead.
std::filesystem::path indexFile = "none";
std::function<void(const std::string& index)> chosen;

/// The driver: a write of an index chooses the key that the other files describe.
class SmcServiceTest : public testing::Test {
 protected:
  SmcServiceTest() {
    write("key_count", "7\n");
    choose("0");
    indexFile = file("key_at_index");
    chosen = [this](const std::string& index) {
      choose(index);
      afterwards();
    };
    EXPECT_EQ(smcOpen(service, connection), 0);
  }
  ~SmcServiceTest() override { indexFile = "none"; }

  void choose(const std::string& index) const {
    const Key& key = kKeys.at(std::stoul(index));
    write("key_at_index", index + "\n");
    write("key_at_index_name", key.name + "\n");
    write("key_at_index_type", key.type + "\n");
    write("key_at_index_data_length", std::to_string(key.data.size()) + "\n");
    write("key_at_index_data", key.data);
  }

  std::filesystem::path file(const std::string& name) const {
    return folder.path() / "devices/platform/applesmc.768" / name;
  }
  void write(const std::string& name, const std::string& text) const { folder.write(file(name), text); }

  int readBytes(const Key& key, std::uint32_t method = 2, std::uint8_t command = 5) {
    SmcRecord input;
    input.key = smcKeyFromText(key.name);
    input.keyInfo.dataSize = static_cast<std::uint32_t>(key.data.size());
    input.command = command;
    errno = EIO;  // Of an earlier call.
    return static_cast<int>(connection->exchange(method, input, output));
  }

  TemporaryFolder folder;
  SysfsSmcService service{folder.path()};
  std::unique_ptr<SmcConnection> connection;
  SmcRecord output;
  /// What happens just after a choice.
  std::function<void()> afterwards = [] {};
};

TEST_F(SmcServiceTest, GivesTheClientEveryKey) {
  SmcValue value;
  for (const Key& key : kKeys) {
    EXPECT_EQ(smcReadKey(key.name, value, *connection), 0U) << key.name;
    EXPECT_EQ(value.dataType.data(), key.type);
    EXPECT_EQ(value.dataSize, key.data.size());
    EXPECT_EQ(std::string(value.bytes.begin(), value.bytes.begin() + value.dataSize), key.data);
  }
  EXPECT_EQ(smcReadFanSpeed(1, *connection), 1600.0F);
  EXPECT_EQ(smcReadDouble("TC0P", *connection), 40.0);
  for (const char* absent : {"!!!!", "F2Ac", "zzzz"}) {
    EXPECT_EQ(smcReadKey(absent, value, *connection), 0U) << absent;
    EXPECT_EQ(value.dataSize, 0U);
    EXPECT_EQ(readBytes({absent, "", ""}), 0);
    EXPECT_NE(output.result, 0);
  }
}

TEST_F(SmcServiceTest, FailsInsteadOfTellingAPart) {
  const std::string length = "key_at_index_data_length";
  // Without a text it is a folder, which opens and cannot be read.
  const std::tuple<std::string, std::string, int> cases[] = {
      {"key_count", "", EISDIR},
      {"key_count", "70", EBADMSG},
      {"key_at_index", "\n", EBADMSG},
      {"key_at_index_name", "FNu\n", EBADMSG},
      {"key_at_index_type", "", EISDIR},
      {"key_at_index_type", "\n", EBADMSG},
      {length, "1 \n", EBADMSG},
      {length, "2\n", EBADMSG},
      {"key_at_index_data", "\2\2", EBADMSG},
      {"key_at_index_data", "", EISDIR},
  };
  for (const auto& [name, text, result] : cases) {
    if (text.empty()) std::filesystem::remove(file(name));
    if (text.empty()) std::filesystem::create_directory(file(name));
    afterwards = [&] { write(name, text); };
    afterwards();
    EXPECT_EQ(readBytes(kNum), result) << name << ": " << text;
    if (text.empty()) std::filesystem::remove(file(name));
    write("key_count", "7\n");
  }
  const std::string tooLong(33, 'x');
  afterwards = [&] {
    write(length, "33\n");
    write("key_at_index_data", tooLong);
  };
  EXPECT_EQ(readBytes({"FNum", "", tooLong}), EBADMSG);
  afterwards = [] {};
  EXPECT_EQ(readBytes({"FNum", "", "12"}), EINVAL);
  EXPECT_EQ(readBytes(kNum, 1), ENOTSUP);
  EXPECT_EQ(readBytes(kNum, 2, 6), ENOTSUP);
  EXPECT_EQ(output.bytes, SmcBytes{});
}

TEST_F(SmcServiceTest, NoticesThatTheIndexWasMoved) {
  int moves = 0;
  afterwards = [&] {
    if (++moves % 3 != 0) choose("5");
  };
  for (const Key& key : kKeys) {
    EXPECT_EQ(readBytes(key), 0) << key.name;
    EXPECT_EQ(std::string(output.bytes.begin(), output.bytes.begin() + key.data.size()), key.data);
  }
  afterwards = [&] { choose("5"); };
  EXPECT_EQ(readBytes(kNum), EBUSY);
}

TEST_F(SmcServiceTest, LocksTheIndexButWaitsForNoStrangerWithoutEnd) {
  const FileDescriptor stranger(open(file("key_at_index").c_str(), O_RDONLY | O_CLOEXEC));
  bool wasLocked = false;
  afterwards = [&] { wasLocked = flock(stranger.get(), LOCK_EX | LOCK_NB) != 0; };
  EXPECT_EQ(readBytes(kNum), 0);
  EXPECT_TRUE(wasLocked);
  EXPECT_EQ(flock(stranger.get(), LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(readBytes(kNum), 0);
}

TEST(SmcService, TellsWhyThereIsNone) {
  const TemporaryFolder folder;
  const std::pair<std::string, const char*> cases[] = {
      {"1/devices/platform", "Error: IOServiceGetMatchingServices() = 00000014\n"},
      {"2/x", "Error: no SMC found\n"},
      {"3/devices/platform/serial8250/key_at_index", "Error: no SMC found\n"},
      {"4/devices/platform/applesmc.768/key_count", "Error: IOServiceOpen() = 00000002\n"}};
  for (const auto& [file, message] : cases) {
    folder.write(file, "");
    SysfsSmcService service(folder.path() / file.substr(0, 1));
    EXPECT_EQ(service.find("AppleOther").result, 0U);
    std::unique_ptr<SmcConnection> connection;
    testing::internal::CaptureStdout();
    EXPECT_EQ(smcOpen(service, connection), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
  }
}

}  // namespace
}  // namespace quorlin

/// Stands before the C library's own in this program.
extern "C" ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset) {
  using Pwrite = ssize_t (*)(int, const void*, std::size_t, off_t);
  static const auto real = reinterpret_cast<Pwrite>(dlsym(RTLD_NEXT, "pwrite"));
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
  if (path != quorlin::indexFile) return real(descriptor, buffer, size, offset);
  quorlin::chosen({static_cast<const char*>(buffer), size});
  return static_cast<ssize_t>(size);
}
