#include "programs/core-helper/installation/AttributeLoan.h"

#include "platform/linux/power/SystemBatteries.h"
#include "platform/posix/ErrorStream.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Sentence.h"
#include "programs/core-helper/charge/HeldCharge.h"
#include "programs/core-helper/installation/InstallFolders.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

/// Gives a file to a group, with that right of the owner's or without. A link is left alone.
void setGroup(const std::filesystem::path& file, gid_t group, mode_t right, bool isLent) {
  const FileDescriptor place(open(file.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!place || fstat(place.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  const mode_t ofOwner = right << 3;
  if ((status.st_mode & ofOwner) == 0) return;
  const mode_t mode = (status.st_mode & 07777 & ~right) | (isLent ? right : 0);
  // chmod(2) does not take the descriptor of a place.
  const std::string path = "/proc/self/fd/" + std::to_string(place.get());
  if (fchownat(place.get(), "", static_cast<uid_t>(-1), group, AT_EMPTY_PATH) != 0 ||
      chmod(path.c_str(), mode) != 0) {
    writeErrorLine(systemTrouble("{} cannot be lent", file, errno).text());
  }
}

void setGroups(const Setup& setup, gid_t group, bool isLent) {
  for (const std::filesystem::path& battery : systemBatteries(setup.sysfsRoot)) {
    for (const std::string_view attribute : kHeldAttributes)
      setGroup(battery / attribute, group, S_IWGRP, isLent);
  }
  const std::filesystem::path zones = setup.sysfsRoot / "class/powercap";
  for (const std::string& zone : namesIn(zones.string()).value_or({})) {
    setGroup(zones / zone / "energy_uj", group, S_IRGRP, isLent);
  }
}

}  // namespace

void lendAttributes(const Setup& setup) {
  const passwd* const user = getpwnam(setup.user.c_str());
  if (user == nullptr) throw InstallationError(filledIn("there is no user {}", {setup.user}));
  setGroups(setup, user->pw_gid, true);
  const FileDescriptor held(
      open(setup.heldChargeFile().c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  const bool isOwn =
      held && fstat(held.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
  if (isOwn && fchown(held.get(), user->pw_uid, user->pw_gid) != 0) {
    writeErrorLine(systemTrouble("{} cannot be handed over", setup.heldChargeFile(), errno).text());
  }
}

void takeBackAttributes(const Setup& setup) { setGroups(setup, 0, false); }

}  // namespace quorlin
