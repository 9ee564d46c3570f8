#include "core-helper/Removal.h"

#include "core-helper/ChargeControl.h"
#include "core-helper/Installation.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

[[noreturn]] void fail(const std::filesystem::path& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

void markForRemoval(const Setup& setup) {
  // The unit has made the folder already; there may be no unit.
  mkdir(setup.stateFolder.c_str(), S_IRWXU);
  const FileDescriptor mark(
      open(setup.removalMark().c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!mark) fail(setup.removalMark());
}

void keepInstalled(const Setup& setup) {
  if (unlink(setup.removalMark().c_str()) != 0 && errno != ENOENT) fail(setup.removalMark());
}

FileDescriptor lockInstallation(const Setup& setup, bool makesFolder) {
  const char* const path = setup.stateFolder.c_str();
  struct stat locked {};
  struct stat present {};
  FileDescriptor folder;
  do {
    if (makesFolder && mkdir(path, S_IRWXU) != 0 && errno != EEXIST) fail(path);
    folder = FileDescriptor(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder && errno == ENOENT && !makesFolder) return folder;
    if (!folder && errno == ENOENT) continue;
    if (!folder || flock(folder.get(), LOCK_EX) != 0 || fstat(folder.get(), &locked) != 0) fail(path);
    // Whoever has waited for a removal has locked a folder that is no more.
  } while (!folder || lstat(path, &present) != 0 || present.st_dev != locked.st_dev ||
           present.st_ino != locked.st_ino);
  return folder;
}

void cleanUpAfterStop(const Setup& setup) {
  ChargeControl charge(setup.sysfsRoot, setup.heldChargeFile());
  if (charge.hasHeld()) std::fprintf(stderr, "%s\n", charge.release().text.c_str());
  const FileDescriptor lock = lockInstallation(setup, false);
  std::error_code ignored;
  if (!std::filesystem::exists(setup.removalMark(), ignored)) return;
  removeHelper(setup.installRoot);
  if (setup.installRoot == "/") tellSystem();
}

}  // namespace quorlin
