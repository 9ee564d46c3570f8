#include "platform/linux/Spawn.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string_view>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// What the child does before it becomes the program.
class FileActions {
 public:
  FileActions() { posix_spawn_file_actions_init(&actions_); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  int add(const SpawnOptions& options) {
    int error = 0;
    if (options.output) error = posix_spawn_file_actions_adddup2(&actions_, *options.output, STDOUT_FILENO);
    if (error == 0 && options.detached) {
      error = posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    if (error == 0 && !options.folder.empty()) {
      error = posix_spawn_file_actions_addchdir_np(&actions_, options.folder.c_str());
    }
    return error != 0 ? error : posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

class Attributes {
 public:
  Attributes() { posix_spawnattr_init(&attributes_); }
  ~Attributes() { posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  int set(bool detached) {
    // The agent ignores it, which a child would inherit.
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    const int error = posix_spawnattr_setsigdefault(&attributes_, &defaults);
    if (error != 0) return error;
    const int flags = POSIX_SPAWN_SETSIGDEF | (detached ? POSIX_SPAWN_SETSID : 0);
    return posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
  }

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

/// The variables of this process, and a PATH that begins with a folder.
class Environment {
 public:
  explicit Environment(const std::string& searchedFirst) {
    constexpr std::string_view name = "PATH=";
    std::string_view others = "/usr/local/bin:/usr/bin:/bin";
    for (char** variable = environ; *variable != nullptr; ++variable) {
      const std::string_view text(*variable);
      if (text.starts_with(name)) {
        others = text.substr(name.size());
      } else {
        variables_.push_back(*variable);
      }
    }
    path_.append(name).append(searchedFirst).append(":").append(others);
    variables_.push_back(path_.data());
    variables_.push_back(nullptr);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  char** get() { return variables_.data(); }

 private:
  std::string path_;
  std::vector<char*> variables_;
};

bool hasZeroByte(const std::string& text) { return text.find('\0') != std::string::npos; }

}  // namespace

std::optional<pid_t> spawn(const std::string& program, const std::vector<std::string>& arguments,
                           const SpawnOptions& options) {
  // What stands behind a zero byte would be left out in silence.
  if (hasZeroByte(program) || std::any_of(arguments.begin(), arguments.end(), hasZeroByte)) {
    errno = EINVAL;
    return std::nullopt;
  }
  std::vector<char*> vector = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);

  FileActions actions;
  Attributes attributes;
  pid_t child = 0;
  int error = actions.add(options);
  if (error == 0) error = attributes.set(options.detached);
  if (error == 0) {
    std::optional<Environment> environment;
    if (!options.searchedFirst.empty()) environment.emplace(options.searchedFirst);
    error = posix_spawnp(&child, program.c_str(), actions.get(), attributes.get(), vector.data(),
                         environment ? environment->get() : environ);
  }
  errno = error;
  return error == 0 ? std::optional(child) : std::nullopt;
}

std::optional<int> waitForEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  return status;
}

}  // namespace quorlin
