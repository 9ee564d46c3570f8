/// Notices that the entries of a directory have changed, for file systems that report no such events.
#pragma once

#include "platform/posix/FileDescriptor.h"

#include <string>

namespace quorlin {

class DirectoryWatch {
 public:
  explicit DirectoryWatch(std::string path) : path_(std::move(path)) {}

  /// Whether names or inodes differ from those of the last call. A directory that does not exist counts
  /// as empty, as does every directory before the first call.
  bool hasChanged();

 private:
  std::string path_;
  FileDescriptor directory_;
  std::string last_;
  std::string current_;
};

}  // namespace quorlin
