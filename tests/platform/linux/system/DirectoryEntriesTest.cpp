#include "platform/linux/system/DirectoryEntries.h"
#include "platform/posix/FileDescriptor.h"

#include <array>
#include <set>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {
int calls = 0;
}

/// Stands before the C library's own in this program.
extern "C" ssize_t getdents64(int directory, void* buffer, std::size_t size) {
  using Getdents = ssize_t (*)(int, void*, std::size_t);
  static const auto real = reinterpret_cast<Getdents>(dlsym(RTLD_NEXT, "getdents64"));
  ++calls;
  return real(directory, buffer, size);
}

namespace quorlin {
namespace {

TEST(DirectoryEntries, AreAllVisitedWithoutACallTooMany) {
  const FileDescriptor folder(open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  std::vector<FileDescriptor> extra;
  for (int i = 0; i < 200; ++i) extra.emplace_back(dup(folder.get()));
  // 24 bytes for each name of up to four digits and for both dots.
  const std::tuple<std::size_t, ListingEnd, int> cases[] = {
      {65536, ListingEnd::AtRoomToSpare, 1},
      {65536, ListingEnd::AtEmptyBuffer, 2},
      {2400, ListingEnd::AtRoomToSpare, 3},
      {2400, ListingEnd::AtEmptyBuffer, 4},
  };
  for (const auto& [size, end, expectedCalls] : cases) {
    alignas(dirent64) std::array<char, 65536> buffer;
    std::set<std::string> names;
    const auto add = [&names](const dirent64& entry) { return names.insert(entry.d_name).second; };
    lseek(folder.get(), 0, SEEK_SET);
    calls = 0;
    forEachEntry(folder.get(), std::span(buffer).first(size), add, end);
    EXPECT_EQ(calls, expectedCalls) << size;
    for (const FileDescriptor& one : extra) EXPECT_TRUE(names.contains(std::to_string(one.get())));
  }
}

TEST(DirectoryEntries, EndWhereTheVisitorHasSeenEnough) {
  const FileDescriptor folder(open("/proc/self", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  alignas(dirent64) std::array<char, 4096> buffer;
  int visited = 0;
  forEachEntry(folder.get(), buffer, [&visited](const dirent64&) { return ++visited < 3; });
  EXPECT_EQ(visited, 3);
}

}  // namespace
}  // namespace quorlin
