#include "programs/core-helper/installation/InstallFolders.h"

#include "platform/posix/TextFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void refuse(const std::filesystem::path& path, int error) {
  if (error == ELOOP || error == ENOTDIR)
    throw InstallationError({.what = "{} is not a folder", .where = path});
  throw InstallationError(systemTrouble("{} cannot be opened", path, error));
}

void requireOwnFolder(int folder, const std::filesystem::path& path) {
  struct stat status {};
  if (fstat(folder, &status) != 0) refuse(path, errno);
  if (status.st_uid != geteuid()) {
    throw InstallationError(
        {.what = "{} belongs to another user, who could replace the helper", .where = path});
  }
  // The bits of the group are also the upper bound of an access control list (acl(5)).
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    throw InstallationError(
        {.what = "{} can be changed by other users, who could replace the helper", .where = path});
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
  if (!folder) refuse(path, errno);
  requireOwnFolder(folder.get(), path);
  for (const std::filesystem::path& name : relative) {
    path /= name;
    FileDescriptor next(openat(folder.get(), name.c_str(), kFolderFlags));
    const bool missing = !next && errno == ENOENT;
    if (missing) {
      if (mkdirat(folder.get(), name.c_str(), 0755) != 0) {
        throw InstallationError(systemTrouble("{} cannot be created", path, errno));
      }
      made_.push_back({FileDescriptor(fcntl(folder.get(), F_DUPFD_CLOEXEC, 0)), name});
      next = FileDescriptor(openat(folder.get(), name.c_str(), kFolderFlags));
    }
    if (!next) refuse(path, errno);
    // Independent of the caller's mask.
    if (missing && fchmod(next.get(), 0755) != 0) refuse(path, errno);
    requireOwnFolder(next.get(), path);
    folder = std::move(next);
  }
  return folder;
}

FileDescriptor openFolder(const std::filesystem::path& root, const std::filesystem::path& relative) {
  std::filesystem::path path = root;
  FileDescriptor folder(::open(path.c_str(), kFolderFlags));
  if (!folder && errno != ENOENT) refuse(path, errno);
  for (auto name = relative.begin(); folder && name != relative.end(); ++name) {
    path /= *name;
    FileDescriptor next(openat(folder.get(), name->c_str(), kFolderFlags));
    const int error = errno;
    if (!next && error != ENOENT) refuse(path, error);
    folder = std::move(next);
  }
  return folder;
}

}  // namespace quorlin
