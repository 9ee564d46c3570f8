#include "programs/core-helper/installation/Installation.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/posix/ErrorStream.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Sentence.h"
#include "programs/core-helper/EmbeddedTexts.h"
#include "programs/core-helper/Setup.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <systemd/sd-daemon.h>

namespace quorlin {
namespace {

constexpr std::string_view kProgram = "usr/local/libexec/quorlin-core-helper";
// polkit reads its actions from no other folder; the last file lets the bus start the helper.
constexpr std::array<std::string_view, 6> kTextFiles = {
    "usr/local/lib/sysusers.d/quorlin-core-helper.conf",
    "usr/share/polkit-1/actions/com.brellwick.Quorlin-Core-Helper.policy",
    "etc/dbus-1/system.d/com.brellwick.Quorlin-Core-Helper.conf",
    "etc/systemd/system/quorlin-core-helper.service",
    "etc/systemd/system/quorlin-core-helper-restore.service",
    "usr/local/share/dbus-1/system-services/com.brellwick.Quorlin-Core-Helper.service",
};
/// Has systemd start that last unit at boot, as "systemctl enable" would.
constexpr std::string_view kRestoreLink =
    "etc/systemd/system/multi-user.target.wants/quorlin-core-helper-restore.service";
constexpr const char* kRestoreLinkTarget = "../quorlin-core-helper-restore.service";
constexpr std::string_view kStateFolder = "var/lib/quorlin-core-helper";
// Debian ships none of these, so an empty one was most likely made for the helper.
constexpr std::array<std::string_view, 4> kOwnFolders = {
    "usr/local/lib/sysusers.d",
    "usr/local/share/dbus-1/system-services",
    "usr/local/share/dbus-1",
    "usr/local/libexec",
};

constexpr std::string_view embeddedText(std::string_view file) {
  for (const EmbeddedText& embedded : kEmbeddedTexts) {
    if (embedded.name == file.substr(file.rfind('/') + 1)) return embedded.text;
  }
  return {};
}
static_assert(std::all_of(kTextFiles.begin(), kTextFiles.end(),
                          [](std::string_view file) { return !embeddedText(file).empty(); }));

std::string stagedName(const std::string& name) { return "." + name + ".new"; }
std::string previousName(const std::string& name) { return "." + name + ".old"; }

/// Removes a file or an empty folder; an absent one is not an error.
std::optional<Trouble> removeEntry(const FileDescriptor& folder, const std::filesystem::path& path,
                                   int flags = 0) {
  if (unlinkat(folder.get(), path.filename().c_str(), flags) == 0 || errno == ENOENT) return std::nullopt;
  return systemTrouble("{} cannot be removed", path, errno);
}

/// A file beside its place, then in it. Unless it is kept, the earlier one comes back.
class StagedFile {
 public:
  /// Throws InstallationError, as do all that follow.
  StagedFile(FileDescriptor folder, std::filesystem::path path, mode_t type = S_IFREG)
      : folder_(std::move(folder)), path_(std::move(path)), name_(path_.filename()) {
    // An earlier installation may have been cut short.
    for (const std::string& leftover : {stagedName(name_), previousName(name_)}) {
      const std::optional<Trouble> trouble = removeEntry(folder_, path_.parent_path() / leftover);
      if (trouble) throw InstallationError(*trouble);
    }
    struct stat status {};
    replaces_ = fstatat(folder_.get(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (!replaces_ && errno != ENOENT) fail(errno);
    if (replaces_ && (status.st_mode & S_IFMT) != type) {
      const char* const what = type == S_IFREG ? "{} is not a regular file" : "{} is not a link";
      throw InstallationError({.what = what, .where = path_});
    }
  }
  ~StagedFile() {
    if (isRevocable_ && replaces_) {
      renameat(folder_.get(), previousName(name_).c_str(), folder_.get(), name_.c_str());
    } else if (isRevocable_) {
      unlinkat(folder_.get(), name_.c_str(), 0);
    }
    for (const std::string& leftover : {stagedName(name_), previousName(name_)}) {
      unlinkat(folder_.get(), leftover.c_str(), 0);
    }
  }

  void write(std::string_view contents, mode_t mode) {
    const FileDescriptor file(openat(folder_.get(), stagedName(name_).c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) fail(errno);
    while (!contents.empty()) {
      const ssize_t count = ::write(file.get(), contents.data(), contents.size());
      if (count < 0 && errno != EINTR) fail(errno);
      if (count > 0) contents.remove_prefix(static_cast<std::size_t>(count));
    }
    if (fchown(file.get(), geteuid(), getegid()) != 0 || fchmod(file.get(), mode) != 0 ||
        fsync(file.get()) != 0) {
      fail(errno);
    }
  }

  void writeLink(const char* target) {
    if (symlinkat(target, folder_.get(), stagedName(name_).c_str()) != 0) fail(errno);
  }

  void place() {
    if (replaces_ &&
        linkat(folder_.get(), name_.c_str(), folder_.get(), previousName(name_).c_str(), 0) != 0) {
      fail(errno);
    }
    if (renameat(folder_.get(), stagedName(name_).c_str(), folder_.get(), name_.c_str()) != 0) fail(errno);
    isRevocable_ = true;
    if (fsync(folder_.get()) != 0) fail(errno);
  }

  void keep() { isRevocable_ = false; }

 private:
  [[noreturn]] void fail(int error) const {
    throw InstallationError(systemTrouble("{} cannot be written", path_, error));
  }

  FileDescriptor folder_;
  std::filesystem::path path_;
  std::string name_;
  bool replaces_ = false;
  bool isRevocable_ = false;  // in its place, and not kept yet
};

std::string contentsOf(const std::filesystem::path& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string contents;
  std::array<char, 65536> buffer;
  ssize_t count = file ? 1 : -1;
  while (count > 0) {
    count = read(file.get(), buffer.data(), buffer.size());
    if (count > 0) contents.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (count < 0) throw InstallationError(systemTrouble("{} cannot be read", path, errno));
  return contents;
}

/// Calls a method without arguments of a service that may be absent.
void ask(const Bus& bus, const BusObject& object, const char* method) {
  const BusMessage message = methodCall(bus.get(), object, method);
  checked(sd_bus_message_set_auto_start(message.get(), 0), "Cannot write a call");
  const auto answer = call(bus.get(), message);
  if (!answer && !answer.error().isOneOf({SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER})) {
    writeErrorLine(filledIn("{} refuses {}: {}", {object.name, method, answer.error().message}));
  }
}

/// What is wrong with a program, as the end of a sentence; null if it has done its work.
const char* failureOf(const char* program, const std::string& argument) {
  const Result<pid_t> child = spawn(program, {argument}, {});
  if (!child) return "is not installed";
  return waitForEnd(*child) == 0 ? nullptr : "failed";
}

}  // namespace

void installHelper(const std::filesystem::path& root, const std::filesystem::path& program,
                   const std::function<void()>& whenInPlace) {
  const std::string binary = contentsOf(program);
  InstallFolders folders(root);
  std::list<StagedFile> files;
  const auto stage = [&](std::string_view file, std::string_view contents, mode_t mode) {
    const std::filesystem::path relative(file);
    files.emplace_back(folders.open(relative.parent_path()), root / relative).write(contents, mode);
  };
  stage(kProgram, binary, 0755);
  for (const std::string_view file : kTextFiles) stage(file, embeddedText(file), 0644);
  const std::filesystem::path link(kRestoreLink);
  files.emplace_back(folders.open(link.parent_path()), root / link, S_IFLNK).writeLink(kRestoreLinkTarget);
  for (StagedFile& file : files) file.place();
  whenInPlace();
  for (StagedFile& file : files) file.keep();
}

void removeHelper(const std::filesystem::path& root) {
  std::string troubles;
  const auto attempt = [&](const std::filesystem::path& entry, int flags = 0, int tolerated = ENOENT) {
    try {
      const FileDescriptor folder = openFolder(root, entry.parent_path());
      const std::optional<Trouble> trouble = folder ? removeEntry(folder, root / entry, flags) : std::nullopt;
      if (trouble && trouble->error != tolerated) throw InstallationError(*trouble);
    } catch (const InstallationError& error) {
      troubles += (troubles.empty() ? "" : "; ") + std::string(error.what());
    }
  };
  const auto attemptFile = [&](const std::filesystem::path& file) {
    attempt(file);
    attempt(file.parent_path() / stagedName(file.filename()));
    attempt(file.parent_path() / previousName(file.filename()));
  };
  attemptFile(kRestoreLink);
  // In the opposite order, so that nothing can start it from the first removal on.
  std::for_each(kTextFiles.rbegin(), kTextFiles.rend(), attemptFile);
  attemptFile(kProgram);
  for (const std::string_view folder : kOwnFolders) attempt(folder, AT_REMOVEDIR, ENOTEMPTY);
  for (const std::string& name : namesIn(root / kStateFolder).value_or({}))
    attempt(std::filesystem::path(kStateFolder) / name);
  // In the mount namespace of its unit, which ExecStopPost= has too, the folder is mounted on itself.
  umount2((root / kStateFolder).c_str(), MNT_DETACH | UMOUNT_NOFOLLOW);
  attempt(kStateFolder, AT_REMOVEDIR);
  if (!troubles.empty()) throw InstallationError(troubles);
}

void makeUser() {
  const char* const failure = failureOf("systemd-sysusers", "/" + std::string(kTextFiles.front()));
  if (failure == nullptr) return;
  throw InstallationError(
      filledIn("the user {} cannot be made; systemd-sysusers {}", {kHelperUser, failure}));
}

void removeUser() {
  if (getpwnam(kHelperUser) == nullptr) return;
  const char* const failure = failureOf("userdel", kHelperUser);
  if (failure == nullptr) return;
  throw InstallationError(filledIn("the user {} stays, because userdel {}", {kHelperUser, failure}));
}

void reloadServices() {
  try {
    const Bus bus = Bus::openSystem();
    ask(bus, {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"}, "ReloadConfig");
    ask(bus, {"org.freedesktop.systemd1", "/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager"},
        "Reload");
  } catch (const BusError&) {
    // Without a bus neither of them runs.
  }
}

void stopService() {
  if (sd_booted() <= 0) return;
  const SpawnOptions attached{.output = {}, .folder = {}, .detached = false};
  // A pattern, since systemctl(1) does not complain about one that no loaded unit matches.
  if (const auto child = spawn("systemctl", {"stop", "quorlin-core-helper.[s]ervice"}, attached)) {
    waitForEnd(*child);
  } else {
    writeErrorLine(child.error().text());
  }
}

}  // namespace quorlin
