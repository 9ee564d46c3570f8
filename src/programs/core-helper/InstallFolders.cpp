#include "core-helper/InstallFolders.h"

#include "platform/posix/TextFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// Throws what errno says of a folder that could not be opened.
[[noreturn]] void refuse(const std::filesystem::path& path) {
  if (errno == ELOOP || errno == ENOTDIR) throw InstallationError(path, "is in the way: it is not a folder");
  throw InstallationError(path, errorText(errno));
}

void requireOwnFolder(int folder, const std::filesystem::path& path) {
  struct stat status {};
  if (fstat(folder, &status) != 0) throw InstallationError(path, errorText(errno));
  if (status.st_uid != geteuid()) {
    throw InstallationError(path, "belongs to another user, who could replace what is installed there");
  }
  // The bits of the group are also the upper bound of an access control list (acl(5)).
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    throw InstallationError(path, "can be written by other users, who could replace what is installed there");
  }
}

}  // namespace

InstallFolders::~InstallFolders() {
  // The deepest first.
  for (; !made_.empty(); made_.pop_back()) {
    unlinkat(made_.back().parent.get(), made_.back().name.c_str(), AT_REMOVEDIR);
  }
}

FileDescriptor InstallFolders::open(const std::filesystem::path& relative) {
  std::filesystem::path path = root_;
  FileDescriptor folder(::open(path.c_str(), kFolderFlags));
  if (!folder) refuse(path);
  requireOwnFolder(folder.get(), path);
  for (const std::filesystem::path& name : relative) {
    path /= name;
    FileDescriptor next(openat(folder.get(), name.c_str(), kFolderFlags));
    const bool missing = !next && errno == ENOENT;
    if (missing) {
      if (mkdirat(folder.get(), name.c_str(), 0755) != 0) refuse(path);
      made_.push_back({FileDescriptor(fcntl(folder.get(), F_DUPFD_CLOEXEC, 0)), name});
      next = FileDescriptor(openat(folder.get(), name.c_str(), kFolderFlags));
    }
    if (!next) refuse(path);
    // Whatever the mask of the caller is.
    if (missing && fchmod(next.get(), 0755) != 0) refuse(path);
    requireOwnFolder(next.get(), path);
    folder = std::move(next);
  }
  return folder;
}

FileDescriptor openFolder(const std::filesystem::path& root, const std::filesystem::path& relative) {
  std::filesystem::path path = root;
  FileDescriptor folder(::open(path.c_str(), kFolderFlags));
  for (auto name = relative.begin(); folder && name != relative.end(); ++name) {
    path /= *name;
    folder = FileDescriptor(openat(folder.get(), name->c_str(), kFolderFlags));
  }
  if (!folder && errno != ENOENT) refuse(path);
  return folder;
}

}  // namespace quorlin
