#include "core-helper/Removal.h"

#include "core-helper/ChargeControl.h"
#include "core-helper/Installation.h"
#include "platform/posix/FileDescriptor.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorlin {

void markForRemoval(const Setup& setup) {
  // The unit has made the folder already; there may be no unit.
  mkdir(setup.stateFolder.c_str(), S_IRWXU);
  const FileDescriptor mark(
      open(setup.removalMark().c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!mark) throw std::system_error(errno, std::generic_category(), setup.removalMark());
}

void cleanUpAfterStop(const Setup& setup) {
  ChargeControl charge(setup.sysfsRoot, setup.heldChargeFile());
  if (charge.hasHeld()) std::fprintf(stderr, "%s\n", charge.release().text.c_str());
  std::error_code ignored;
  if (!std::filesystem::exists(setup.removalMark(), ignored)) return;
  removeHelper(setup.installRoot);
  if (setup.installRoot == "/") tellSystem();
}

}  // namespace quorlin
