#include "core-helper/Installation.h"
#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"

#include <cerrno>
#include <map>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace quorlin {
namespace {

using std::filesystem::path;
using testing::AllOf;
using testing::HasSubstr;

/// So many of the calls below succeed, then one fails; a negative number makes none fail.
int callsUntilFailure = -1;

bool failsNow() {
  if (callsUntilFailure < 0 || callsUntilFailure-- > 0) return false;
  errno = EIO;
  return true;
}

template <typename... Arguments>
int callUnlessItFails(long number, Arguments... arguments) {
  return failsNow() ? -1 : static_cast<int>(syscall(number, arguments...));
}

}  // namespace
}  // namespace quorlin

// They stand before the C library's own in this program.
extern "C" int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  return quorlin::callUnlessItFails(SYS_mkdirat, folder, name, mode);
}
extern "C" int fchmod(int file, mode_t mode) noexcept {
  return quorlin::callUnlessItFails(SYS_fchmod, file, mode);
}
extern "C" int fchown(int file, uid_t user, gid_t group) noexcept {
  return quorlin::callUnlessItFails(SYS_fchown, file, user, group);
}
extern "C" int fsync(int file) { return quorlin::callUnlessItFails(SYS_fsync, file); }
extern "C" int linkat(int folder, const char* name, int to, const char* newName, int flags) noexcept {
  return quorlin::callUnlessItFails(SYS_linkat, folder, name, to, newName, flags);
}
extern "C" int renameat(int folder, const char* name, int to, const char* newName) noexcept {
  return quorlin::callUnlessItFails(SYS_renameat2, folder, name, to, newName, 0);
}

namespace quorlin {
namespace {

const path kProgram = "usr/local/libexec/quorlin-core-helper";
const path kUnit = "etc/systemd/system/quorlin-core-helper.service";
const path kBusPolicy = "etc/dbus-1/system.d/com.brellwick.Quorlin-Core-Helper.conf";
const path kActions = "usr/share/polkit-1/actions/com.brellwick.Quorlin-Core-Helper.policy";
const path kActivation = "usr/local/share/dbus-1/system-services/com.brellwick.Quorlin-Core-Helper.service";
const std::vector<path> kFiles = {kProgram, kUnit, kBusPolicy, kActions, kActivation};

/// Everything below a folder: type and mode, and what a file or a link holds.
std::map<std::string, std::string> snapshot(const path& root) {
  std::map<std::string, std::string> entries;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    struct stat status {};
    lstat(entry.path().c_str(), &status);
    std::string contents;
    if (entry.is_symlink()) {
      contents = read_symlink(entry.path());
    } else if (entry.is_regular_file()) {
      std::ifstream stream(entry.path(), std::ios::binary);
      contents.assign(std::istreambuf_iterator<char>(stream), {});
    }
    entries[relative(entry.path(), root)] = std::to_string(status.st_mode) + " " +
                                            std::to_string(status.st_uid) + " " +
                                            std::to_string(status.st_gid) + " " + contents;
  }
  return entries;
}

class Installation : public testing::Test {
 public:
  /// What every system has.
  Installation() {
    mask_ = umask(022);
    for (const char* folder : {"etc", "usr/share", "usr/local/share", "var/lib"}) {
      create_directories(root / folder);
    }
  }
  ~Installation() override {
    callsUntilFailure = -1;
    umask(mask_);
  }

  void install(const std::string& contents = "the program") const {
    installHelper(root, folder_.write("program", contents));
  }

  /// What an attempt to install or to remove says that fails.
  static std::string failure(const std::function<void()>& attempt) {
    try {
      attempt();
    } catch (const InstallationError& error) {
      return error.what();
    }
    return "no failure";
  }

 private:
  TemporaryFolder folder_;
  mode_t mask_;

 public:
  const path root = folder_.path() / "root";
};

TEST_F(Installation, PutsFiveFilesInTheirPlacesWhateverTheMask) {
  umask(0077);
  install();
  umask(022);

  std::vector<path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    struct stat status {};
    ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, geteuid()) << entry;
    EXPECT_EQ(status.st_gid, getegid()) << entry;
    const path name = relative(entry.path(), root);
    EXPECT_EQ(status.st_mode & 07777U, S_ISDIR(status.st_mode) || name == kProgram ? 0755U : 0644U) << entry;
    if (!S_ISDIR(status.st_mode)) files.push_back(name);
  }
  EXPECT_THAT(files, testing::UnorderedElementsAreArray(kFiles));
  const auto entries = snapshot(root);
  EXPECT_THAT(entries.at(kProgram), testing::EndsWith(" the program"));
  EXPECT_THAT(entries.at(kUnit), HasSubstr("ExecStart=/" + kProgram.string() + "\n"));
  EXPECT_THAT(entries.at(kBusPolicy), HasSubstr("<busconfig>"));
  EXPECT_THAT(entries.at(kActions), HasSubstr("<policyconfig>"));
  EXPECT_THAT(entries.at(kActivation), HasSubstr("SystemdService=quorlin-core-helper.service\n"));
}

TEST_F(Installation, CopiesTheRunningProgram) {
  installHelper(root);
  EXPECT_EQ(file_size(root / kProgram), std::filesystem::file_size("/proc/self/exe"));
}

TEST_F(Installation, ReplacesAnOlderOneAndWhatAnInterruptedOneLeft) {
  install();
  const auto wanted = snapshot(root);
  for (const path& file : kFiles) {
    std::ofstream(root / file) << "older";
    chmod((root / file).c_str(), 0600);
    for (const char* suffix : {".new", ".old"}) {
      std::ofstream(root / file.parent_path() / ("." + file.filename().string() + suffix)) << "cut short";
    }
  }
  install();
  EXPECT_EQ(snapshot(root), wanted);
}

TEST_F(Installation, LeavesEverythingAsItWasWhereverItFails) {
  for (const bool replaces : {false, true}) {
    SCOPED_TRACE(replaces);
    if (replaces) install("older");
    const auto before = snapshot(root);
    int steps = 0;
    for (;; ++steps) {
      callsUntilFailure = steps;
      const std::string said = failure([this] { install("newer"); });
      const bool failed = callsUntilFailure < 0;
      callsUntilFailure = -1;
      if (!failed) break;
      ASSERT_THAT(said, AllOf(HasSubstr(root.string() + "/"), HasSubstr(": Input/output error"))) << steps;
      ASSERT_EQ(snapshot(root), before) << "after call " << steps;
    }
    // Each file is owned, given its mode and synchronised, then moved into its place.
    EXPECT_GE(steps, 5 * 5);
    EXPECT_THAT(snapshot(root).at(kProgram), testing::EndsWith(" newer"));
    removeHelper(root);
  }
}

TEST_F(Installation, RefusesWhatIsInTheWay) {
  for (const path& file : kFiles) {
    const path target = root / file;
    const path folder = target.parent_path();
    const auto hidden = [&](const char* suffix) {
      return folder / ("." + file.filename().string() + suffix);
    };
    struct Case {
      path named;
      std::string reason;
      std::function<void()> obstruct;
    };
    std::vector<Case> cases = {
        {target, "is not a regular file", [&] { create_directories(target); }},
        {target, "is not a regular file",
         [&] {
           create_directories(folder);
           create_symlink("/etc/passwd", target);
         }},
        {hidden(".new"), "Is a directory", [&] { create_directories(hidden(".new")); }},
        {hidden(".old"), "Is a directory", [&] { create_directories(hidden(".old")); }},
        {folder, "is not a folder",
         [&] {
           create_directories(folder.parent_path());
           std::ofstream(folder) << "a file";
         }},
        {folder, "is not a folder",
         [&] {
           create_directories(folder.parent_path());
           create_directory_symlink(root / "var", folder);
         }},
        {folder, "other users",
         [&] {
           create_directories(folder);
           chmod(folder.c_str(), 0757);
         }},
        {folder, "other users",
         [&] {
           create_directories(folder);
           chmod(folder.c_str(), 0775);
         }},
    };
    // Nobody else can give a folder away.
    if (geteuid() == 0) {
      cases.push_back({folder, "another user", [&] {
                         create_directories(folder);
                         ASSERT_EQ(chown(folder.c_str(), 65534, 0), 0);
                       }});
    }
    for (const auto& [named, reason, obstruct] : cases) {
      obstruct();
      const auto before = snapshot(root);
      EXPECT_THAT(failure([this] { install(); }),
                  AllOf(testing::StartsWith(named.string() + ": "), HasSubstr(reason)));
      EXPECT_EQ(snapshot(root), before) << named << " " << reason;
      remove_all(folder);
    }
  }
}

TEST_F(Installation, SaysWhenTheProgramCannotBeRead) {
  EXPECT_EQ(failure([this] { installHelper(root, root / "absent"); }),
            (root / "absent").string() + ": No such file or directory");
  EXPECT_EQ(failure([this] { installHelper(root, root / "etc"); }),
            (root / "etc").string() + ": Is a directory");
}

TEST_F(Installation, LeavesNoTraceWhenItIsRemoved) {
  create_directories(root / "etc/dbus-1/system.d");
  create_directories(root / "etc/systemd/system");
  create_directories(root / "usr/share/polkit-1/actions");
  const auto before = snapshot(root);
  removeHelper(root);
  EXPECT_EQ(snapshot(root), before);

  install();
  create_directories(root / "var/lib/quorlin-core-helper");
  std::ofstream(root / "var/lib/quorlin-core-helper/held") << "BAT0";
  std::ofstream(root / "usr/local/libexec/.quorlin-core-helper.new") << "cut short";
  removeHelper(root);
  EXPECT_EQ(snapshot(root), before);
}

TEST_F(Installation, IsRemovedWithoutTouchingWhatOthersInstalled) {
  for (const path& file : kFiles) {
    create_directories((root / file).parent_path());
    std::ofstream(root / file.parent_path() / "of-others") << "stays";
  }
  const auto before = snapshot(root);
  install();
  removeHelper(root);
  EXPECT_EQ(snapshot(root), before);
}

TEST_F(Installation, NamesWhatCannotBeRemovedAfterAllElseIsGone) {
  const path stubborn = "var/lib/quorlin-core-helper/folder";
  for (const path& file : kFiles) {
    install();
    remove(root / file);
    create_directories(root / file / "of-others");
    create_directories(root / stubborn);
    EXPECT_THAT(failure([this] { removeHelper(root); }), AllOf(HasSubstr((root / file).string() + ": "),
                                                               HasSubstr((root / stubborn).string() + ": ")));
    for (const path& other : kFiles) EXPECT_EQ(exists(root / other), other == file) << other;
    remove_all(root / file);
  }
}

TEST_F(Installation, IsRemovedWithAStateFolderThatTheUnitMounted) {
  const path state = root / "var/lib/quorlin-core-helper";
  create_directories(state);
  std::ofstream(state / "held") << "BAT0";
  const pid_t child = fork();
  if (child == 0) {
    // In the namespace of a child, so that nothing stays mounted. Without root it takes one for users, too.
    const bool mounted = unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0 &&
                         mount(state.c_str(), state.c_str(), nullptr, MS_BIND, nullptr) == 0;
    _exit(mounted && failure([this] { removeHelper(root); }) == "no failure" ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(exists(state));
}

TEST_F(Installation, IsNotRemovedThroughALink) {
  create_directories(root / "elsewhere/system");
  std::ofstream(root / "elsewhere" / kUnit.filename()) << "of others";
  std::ofstream(root / "elsewhere/system" / kUnit.filename()) << "of others";
  create_directory_symlink(root / "elsewhere", root / "etc/systemd");
  const auto before = snapshot(root);
  EXPECT_THAT(failure([this] { removeHelper(root); }), HasSubstr((root / "etc/systemd").string()));
  EXPECT_EQ(snapshot(root), before);
}

TEST(TellSystem, IsSilentWhereSystemdDoesNotRun) {
  const PrivateBus bus;
  for (const std::string& address :
       {std::string(getenv("DBUS_SESSION_BUS_ADDRESS")), std::string("unix:path=/absent")}) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    testing::internal::CaptureStderr();
    tellSystem();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << address;
  }
}

}  // namespace
}  // namespace quorlin
