/// The folders below an install root, reached without following a link.
#pragma once

#include "platform/posix/FileDescriptor.h"
#include "platform/values/Result.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorlin {

/// Installation or removal failed; the text is meant for the user.
class InstallationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  explicit InstallationError(const Trouble& trouble) : std::runtime_error(trouble.text()) {}
};

/// Opens folders to install into. Removes at its end those that it made, if they are still empty.
class InstallFolders {
 public:
  explicit InstallFolders(std::filesystem::path root) : root_(std::move(root)) {}
  InstallFolders(const InstallFolders&) = delete;
  InstallFolders& operator=(const InstallFolders&) = delete;
  ~InstallFolders();

  /// Opens a folder by its path below the root, and creates its missing parts. Throws InstallationError
  /// when a part of the path is not a folder, or one that another user may change: that user could replace
  /// what is installed in it.
  FileDescriptor open(const std::filesystem::path& relative);

 private:
  struct Made {
    FileDescriptor parent;
    std::string name;
  };

  std::filesystem::path root_;
  std::vector<Made> made_;
};

/// Opens a folder by its path below the root; an empty descriptor when it is absent. Throws
/// InstallationError.
FileDescriptor openFolder(const std::filesystem::path& root, const std::filesystem::path& relative);

}  // namespace quorlin
