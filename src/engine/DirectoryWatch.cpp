#include "engine/DirectoryWatch.h"

#include <cstddef>
#include <cstring>

#include <dirent.h>
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
  // A directory removed and made anew is another one; the old one's descriptor sees it empty for ever.
  if (current_.empty()) directory_.reset();
  std::swap(last_, current_);
  return last_ != current_;
}

void DirectoryWatch::list() {
  if (buffer_.empty()) buffer_.resize(kBuffer);
  ssize_t count = 0;
  do {
    count = getdents64(directory_.get(), buffer_.data(), buffer_.size());
    for (ssize_t offset = 0; offset < count;) {
      const char* entry = buffer_.data() + offset;
      ino64_t inode = 0;
      unsigned short length = 0;
      std::memcpy(&inode, entry + offsetof(dirent64, d_ino), sizeof inode);
      std::memcpy(&length, entry + offsetof(dirent64, d_reclen), sizeof length);
      offset += length;
      const char* name = entry + offsetof(dirent64, d_name);
      if (*name == '.') continue;
      current_.append(entry + offsetof(dirent64, d_ino), sizeof inode);
      current_.append(name, std::strlen(name) + 1);
    }
    // The kernel's own file systems stop early only for want of room, so no second call has to find the end.
  } while (count > static_cast<ssize_t>(kBuffer - sizeof(dirent64)));
}

}  // namespace quorlin
