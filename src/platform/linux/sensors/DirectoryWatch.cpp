#include "platform/linux/sensors/DirectoryWatch.h"

#include "platform/linux/system/DirectoryEntries.h"

#include <array>
#include <cstring>

#include <fcntl.h>

namespace quorlin {

bool DirectoryWatch::hasChanged() {
  current_.clear();
  if (!directory_) {
    directory_ = FileDescriptor(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  } else {
    lseek(directory_.get(), 0, SEEK_SET);
  }
  const auto add = [this](const dirent64& entry) {
    if (entry.d_name[0] == '.') return true;
    current_.append(reinterpret_cast<const char*>(&entry.d_ino), sizeof entry.d_ino);
    current_.append(entry.d_name, std::strlen(entry.d_name) + 1);
    return true;
  };
  alignas(dirent64) std::array<char, 16384> buffer;
  if (directory_) forEachEntry(directory_.get(), buffer, add, ListingEnd::AtRoomToSpare);
  // A directory that is removed and created again is another one; the old descriptor lists nothing from then
  // on.
  if (current_.empty()) directory_.reset();
  std::swap(last_, current_);
  return last_ != current_;
}

}  // namespace quorlin
