#include "platform/linux/sensors/DirectoryWatch.h"

#include "platform/linux/system/DirectoryEntries.h"

#include <cstring>

#include <fcntl.h>

namespace quorlin {
namespace {

constexpr std::size_t kBuffer = 16384;

}  // namespace

bool DirectoryWatch::hasChanged() {
  current_.clear();
  if (!directory_) {
    directory_ = FileDescriptor(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  } else {
    lseek(directory_.get(), 0, SEEK_SET);
  }
  if (directory_) list();
  // A directory that is removed and created again is another one; the old descriptor lists nothing from then
  // on.
  if (current_.empty()) directory_.reset();
  std::swap(last_, current_);
  return last_ != current_;
}

void DirectoryWatch::list() {
  if (buffer_.empty()) buffer_.resize(kBuffer);
  const auto add = [this](const dirent64& entry) {
    if (entry.d_name[0] == '.') return true;
    current_.append(reinterpret_cast<const char*>(&entry.d_ino), sizeof entry.d_ino);
    current_.append(entry.d_name, std::strlen(entry.d_name) + 1);
    return true;
  };
  forEachEntry(directory_.get(), buffer_, add, ListingEnd::AtRoomToSpare);
}

}  // namespace quorlin
