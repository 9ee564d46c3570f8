#include "fakes/PrivateBus.h"
#include "fakes/TemporaryFolder.h"
#include "programs/core-helper/CommandLine.h"
#include "programs/core-helper/installation/Installation.h"

#include <array>
#include <cerrno>
#include <functional>
#include <map>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sysexits.h>

namespace quorlin {
namespace {

using std::filesystem::path;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// So many of the calls below succeed, then one fails; a negative number makes none fail.
int callsUntilFailure = -1;
/// Called before each of them.
std::function<void()> beforeCall;

template <typename... Arguments>
int callUnlessItFails(long number, Arguments... arguments) {
  if (beforeCall) beforeCall();
  if (callsUntilFailure < 0 || callsUntilFailure-- > 0)
    return static_cast<int>(syscall(number, arguments...));
  errno = EIO;
  return -1;
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
extern "C" int unlinkat(int folder, const char* name, int flags) noexcept {
  if (quorlin::beforeCall) quorlin::beforeCall();
  return static_cast<int>(syscall(SYS_unlinkat, folder, name, flags));
}

namespace quorlin {
namespace {

const path kProgram = "usr/local/libexec/quorlin-core-helper";
const path kUnit = "etc/systemd/system/quorlin-core-helper.service";
const path kBusPolicy = "etc/dbus-1/system.d/com.brellwick.Quorlin-Core-Helper.conf";
const path kActions = "usr/share/polkit-1/actions/com.brellwick.Quorlin-Core-Helper.policy";
const path kActivation = "usr/local/share/dbus-1/system-services/com.brellwick.Quorlin-Core-Helper.service";
const path kRestoreUnit = "etc/systemd/system/quorlin-core-helper-restore.service";
const path kUser = "usr/local/lib/sysusers.d/quorlin-core-helper.conf";
const std::vector<path> kFiles = {kProgram, kUnit, kRestoreUnit, kUser, kBusPolicy, kActions, kActivation};
const path kRestoreLink = "etc/systemd/system/multi-user.target.wants/quorlin-core-helper-restore.service";
const path kState = "var/lib/quorlin-core-helper";

void writeFile(const path& file, const std::string& contents) {
  create_directories(file.parent_path());
  std::ofstream(file) << contents;
}

path hidden(const path& file, const char* suffix) {
  return file.parent_path() / ("." + file.filename().string() + suffix);
}

/// Everything below a folder: type and mode, owner, and what a file or a link holds.
std::map<std::string, std::string> snapshot(const path& root) {
  std::map<std::string, std::string> entries;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    struct stat status {};
    lstat(entry.path().c_str(), &status);
    std::ostringstream text;
    text << std::oct << status.st_mode << std::dec << ' ' << status.st_uid << ':' << status.st_gid << ' ';
    if (entry.is_symlink()) text << read_symlink(entry.path()).native();
    if (S_ISREG(status.st_mode)) text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    entries[entry.path().lexically_relative(root)] = text.str();
  }
  return entries;
}

class Installation : public testing::Test {
 public:
  /// What every system has.
  Installation() {
    for (const path& folder : {path("etc"), kRestoreLink.parent_path(), path("usr/share"),
                               path("usr/local/lib"), path("usr/local/share"), path("var/lib")})
      create_directories(root / folder);
  }
  ~Installation() override {
    callsUntilFailure = -1;
    beforeCall = nullptr;
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

  /// The exit status of the program on a machine whose root this is.
  int run(std::string_view argument) const {
    quorlin::Setup setup;
    setup.sysfsRoot = root / "sys";
    setup.stateFolder = root / kState;
    setup.installRoot = root;
    return runCoreHelper(setup, std::array{argument});
  }

 private:
  TemporaryFolder folder_;
  mode_t mask_ = umask(022);

 public:
  const path root = folder_.path() / "root";
};

TEST_F(Installation, PutsItsFilesInTheirPlacesUnderAnyMaskAndAfterAnInterruptedOne) {
  const std::string owner = std::to_string(geteuid()) + ":" + std::to_string(getegid()) + " ";
  const auto file = [&owner](const std::string& mode, const std::string& contents) {
    return AllOf(StartsWith("100" + mode + " " + owner), HasSubstr(contents));
  };
  for (const bool isFirst : {true, false}) {
    umask(0077);
    install();
    umask(022);
    auto entries = snapshot(root);
    EXPECT_EQ(entries[kProgram], "100755 " + owner + "the program");
    EXPECT_THAT(entries[kUnit], file("644", "ExecStart=/" + kProgram.string() + "\n"));
    EXPECT_THAT(entries[kBusPolicy], file("644", "<busconfig>"));
    EXPECT_THAT(entries[kActions], file("644", "<policyconfig>"));
    EXPECT_THAT(entries[kActivation], file("644", "SystemdService=quorlin-core-helper.service\n"));
    EXPECT_THAT(entries[kUser], file("644", "u quorlin-core-helper - "));
    EXPECT_THAT(entries[kRestoreLink], HasSubstr("../" + kRestoreUnit.filename().string()));
    EXPECT_THAT(entries[kRestoreUnit], file("644", "ExecStart=/" + kProgram.string() + " --restore\n"));
    for (const path& name : kFiles) entries.erase(name);
    entries.erase(kRestoreLink);
    for (const auto& [name, entry] : entries) EXPECT_EQ(entry, "40755 " + owner) << name;
    if (!isFirst) break;
    for (const path& name : kFiles) {
      writeFile(root / name, "older");
      chmod((root / name).c_str(), 0600);
      for (const char* suffix : {".new", ".old"}) writeFile(hidden(root / name, suffix), "cut short");
    }
  }
}

TEST_F(Installation, LeavesEverythingAsItWasWhereverItFails) {
  for (const std::string older : {"", "older"}) {
    if (!older.empty()) install(older);
    const auto before = snapshot(root);
    int steps = 0;
    for (;; ++steps) {
      callsUntilFailure = steps;
      const std::string said = failure([this] { install("newer"); });
      if (std::exchange(callsUntilFailure, -1) >= 0) break;
      ASSERT_THAT(said, AllOf(HasSubstr(root.string() + "/"), HasSubstr(": Input/output error"))) << steps;
      ASSERT_EQ(snapshot(root), before) << older << " after call " << steps;
    }
    // Each file is owned, given its mode and synchronised, then moved into its place.
    EXPECT_GE(steps, 5 * 7);
    EXPECT_THAT(snapshot(root).at(kProgram), testing::EndsWith(" newer"));
    removeHelper(root);
  }
}

TEST_F(Installation, RefusesWhatIsInTheWay) {
  for (const path& file : kFiles) {
    const path target = root / file;
    const path folder = target.parent_path();
    const std::vector<std::tuple<path, std::string, std::function<void()>>> cases = {
        {target, "is not a regular file", [&] { create_symlink("/etc/passwd", target); }},
        {hidden(target, ".new"), "Is a directory", [&] { create_directory(hidden(target, ".new")); }},
        {folder, "is not a folder", [&] { remove(folder), create_directory_symlink("/", folder); }},
        {folder, "other users", [&] { chmod(folder.c_str(), 0757); }},
        {folder, "other users", [&] { chmod(folder.c_str(), 0775); }},
    };
    for (const auto& [named, reason, obstruct] : cases) {
      create_directories(folder);
      obstruct();
      const auto before = snapshot(root);
      EXPECT_THAT(failure([this] { install(); }), AllOf(StartsWith(named.string() + " "), HasSubstr(reason)));
      EXPECT_EQ(snapshot(root), before) << named << " " << reason;
      remove_all(folder);
    }
  }
}

TEST_F(Installation, RefusesAFolderOfAnotherUser) {
  // Only root can give a folder away; anybody else meets root's.
  const path foreign = chown(root.c_str(), 65534, 0) == 0 ? root : "/";
  EXPECT_THAT(failure([&] { installHelper(foreign); }),
              StartsWith(foreign.string() + " belongs to another user"));
}

TEST_F(Installation, SaysWhenThereIsNoProgramOrNoRoot) {
  const path absent = root / "absent";
  const std::string reason = ": No such file or directory";
  EXPECT_EQ(failure([&] { installHelper(root, absent); }), absent.string() + " cannot be read" + reason);
  EXPECT_EQ(failure([&] { installHelper(absent); }), absent.string() + " cannot be opened" + reason);
}

TEST_F(Installation, LeavesNoTraceWhenItIsRemovedAndWhatOthersInstalledStays) {
  for (const path& file : {kUnit, kBusPolicy, kActions}) create_directories((root / file).parent_path());
  for (const bool thereAreOthers : {false, true}) {
    for (const path& file : kFiles) {
      if (thereAreOthers) writeFile(root / file.parent_path() / "of-others", "stays");
    }
    const auto before = snapshot(root);
    EXPECT_EQ(run("--remove"), EX_OK);
    EXPECT_EQ(snapshot(root), before);
    install();
    const auto installed = snapshot(root);
    EXPECT_EQ(run("--after-stop"), EX_OK);
    EXPECT_EQ(snapshot(root), installed) << "the service has ended, no more";
    writeFile(root / kState / "held", "BAT0");
    writeFile(hidden(root / kProgram, ".new"), "cut short");
    EXPECT_EQ(run("--remove"), EX_OK);
    EXPECT_EQ(snapshot(root), before);
  }
}

TEST_F(Installation, NamesWhatCannotBeRemovedAfterAllElseIsGone) {
  for (const path& file : kFiles) {
    install();
    remove(root / file);
    create_directories(root / file / "of-others");
    create_directories(root / kState / "folder");
    EXPECT_THAT(failure([this] { removeHelper(root); }),
                AllOf(HasSubstr((root / file).string() + " cannot be removed: "),
                      HasSubstr((root / kState / "folder").string() + " cannot be removed: ")));
    for (const path& other : kFiles) EXPECT_EQ(exists(root / other), other == file) << other;
    remove_all(root / file);
  }
}

TEST_F(Installation, IsRemovedWithAStateFolderThatTheUnitMounted) {
  const path state = root / kState;
  writeFile(state / "held", "BAT0");
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
  writeFile(root / "elsewhere/system" / kUnit.filename(), "of others");
  std::filesystem::remove_all(root / "etc/systemd");
  create_directory_symlink(root / "elsewhere", root / "etc/systemd");
  const auto before = snapshot(root);
  EXPECT_THAT(failure([this] { removeHelper(root); }), HasSubstr((root / "etc/systemd").string()));
  EXPECT_EQ(snapshot(root), before);
}

TEST_F(Installation, OutlivesARemovalThatWasCutShort) {
  const path mark = root / kState / "remove";
  writeFile(mark, "");
  EXPECT_EQ(run("--install"), EX_OK);
  EXPECT_EQ(run("--after-stop"), EX_OK);
  EXPECT_EQ(file_size(root / kProgram), std::filesystem::file_size("/proc/self/exe"));
  // A mark that cannot be taken away.
  remove(root / kProgram);
  create_directories(mark);
  EXPECT_EQ(run("--install"), EX_UNAVAILABLE);
  EXPECT_FALSE(exists(root / kProgram));
}

TEST_F(Installation, LetsNoOtherProcessInstallOrRemoveAtTheSameTime) {
  int steps = 0;
  beforeCall = [&] {
    const FileDescriptor another(open((root / kState).c_str(), O_RDONLY | O_DIRECTORY));
    EXPECT_TRUE(another && flock(another.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) << steps;
    ++steps;
  };
  for (const char* argument : {"--install", "--remove"}) EXPECT_EQ(run(argument), EX_OK);
  EXPECT_GT(steps, 30);
}

TEST(ReloadServices, IsSilentWhereSystemdDoesNotRun) {
  const PrivateBus bus;
  for (const std::string& address :
       {std::string(getenv("DBUS_SESSION_BUS_ADDRESS")), std::string("unix:path=/absent")}) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    testing::internal::CaptureStderr();
    reloadServices();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << address;
  }
}

}  // namespace
}  // namespace quorlin
