/// The folders below an install root, reached without following a link.
#pragma once

#include "platform/posix/FileDescriptor.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorlin {

/// What could not be done, with the file and the reason, for people.
class InstallationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  InstallationError(const std::filesystem::path& path, const std::string& reason)
      : std::runtime_error(path.string() + ": " + reason) {}
};

/// Opens folders to install into. Those that it made go with it if they are still empty.
class InstallFolders {
 public:
  explicit InstallFolders(std::filesystem::path root) : root_(std::move(root)) {}
  InstallFolders(const InstallFolders&) = delete;
  InstallFolders& operator=(const InstallFolders&) = delete;
  ~InstallFolders();

  /// Opens a folder by its path below the root, and makes what is missing of it. Throws InstallationError
  /// when something on the way is no folder, or is one that another user may change: what is installed in it
  /// could be replaced by that user.
  FileDescriptor open(const std::filesystem::path& relative);

 private:
  struct Made {
    FileDescriptor parent;
    std::string name;
  };

  std::filesystem::path root_;
  std::vector<Made> made_;
};

/// Opens a folder by its path below the root; an empty descriptor when it is not there. Throws
/// InstallationError.
FileDescriptor openFolder(const std::filesystem::path& root, const std::filesystem::path& relative);

}  // namespace quorlin
