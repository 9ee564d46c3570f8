#include "programs/core-helper/installation/Removal.h"

#include "platform/posix/ErrorStream.h"
#include "platform/posix/TextFile.h"
#include "programs/core-helper/charge/ChargeControl.h"
#include "programs/core-helper/installation/AttributeLoan.h"
#include "programs/core-helper/installation/Installation.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace quorlin {

void markForRemoval(const Setup& setup) {
  // The unit has made the folder; without a unit it may be absent.
  mkdir(setup.stateFolder.c_str(), S_IRWXU);
  const FileDescriptor mark(
      open(setup.removalMark().c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!mark) throw InstallationError(systemTrouble("{} cannot be written", setup.removalMark(), errno));
}

void keepInstalled(const Setup& setup) {
  const std::filesystem::path mark = setup.removalMark();
  if (unlink(mark.c_str()) != 0 && errno != ENOENT) {
    throw InstallationError(systemTrouble("{} cannot be removed", mark, errno));
  }
}

FileDescriptor lockInstallation(const Setup& setup, bool makesFolder) {
  const char* const path = setup.stateFolder.c_str();
  struct stat locked {};
  struct stat present {};
  FileDescriptor folder;
  do {
    if (makesFolder && mkdir(path, S_IRWXU) != 0 && errno != EEXIST) {
      throw InstallationError(systemTrouble("{} cannot be created", path, errno));
    }
    folder.reset();
    folder = FileDescriptor(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder && errno == ENOENT && !makesFolder) return folder;
    if (!folder && errno == ENOENT) continue;
    if (!folder || flock(folder.get(), LOCK_EX) != 0 || fstat(folder.get(), &locked) != 0) {
      throw InstallationError(systemTrouble("{} cannot be locked", path, errno));
    }
    // After waiting for a removal, the locked folder is no longer the one at the path.
  } while (!folder || lstat(path, &present) != 0 || present.st_dev != locked.st_dev ||
           present.st_ino != locked.st_ino);
  return folder;
}

void releaseLeftover(const Setup& setup) {
  ChargeControl charge(setup.sysfsRoot, setup.heldChargeFile());
  if (charge.hasHeld()) writeErrorLine(charge.release().text);
}

void cleanUpAfterStop(const Setup& setup) {
  releaseLeftover(setup);
  takeBackAttributes(setup);
  const FileDescriptor lock = lockInstallation(setup, false);
  std::error_code ignored;
  if (!std::filesystem::exists(setup.removalMark(), ignored)) return;
  removeHelper(setup.installRoot);
  if (setup.installRoot != "/") return;
  reloadServices();
  removeUser();
}

}  // namespace quorlin
