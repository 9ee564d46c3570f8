#include "platform/linux/processes/Spawn.h"

#include "platform/posix/TextFile.h"

#include <cerrno>
#include <csignal>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace quorlin {
namespace {

void addActions(const SpawnOptions& options, FileActions& actions) {
  if (options.output) actions.add(posix_spawn_file_actions_adddup2, *options.output, STDOUT_FILENO);
  if (options.detached) {
    actions.add(posix_spawn_file_actions_addopen, STDIN_FILENO, "/dev/null", O_RDONLY, mode_t{0});
  }
  if (!options.folder.empty()) actions.add(posix_spawn_file_actions_addchdir_np, options.folder.c_str());
  actions.add(posix_spawn_file_actions_addclosefrom_np, STDERR_FILENO + 1);
}

class Attributes {
 public:
  Attributes() { posix_spawnattr_init(&attributes_); }
  ~Attributes() { posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  int set(bool detached) {
    // The agent ignores it; a child would inherit that.
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

/// The variables of this process, with a PATH that begins with a folder.
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

}  // namespace

Result<pid_t> spawn(const std::string& program, const std::vector<std::string>& arguments,
                    const SpawnOptions& options) {
  std::optional<std::vector<char*>> vector = argumentVector(program, arguments);
  if (!vector) return systemTrouble("{} cannot be started", program, EINVAL);
  FileActions actions;
  addActions(options, actions);
  Attributes attributes;
  pid_t child = 0;
  int error = actions.error();
  if (error == 0) error = attributes.set(options.detached);
  if (error == 0) {
    std::optional<Environment> environment;
    if (!options.searchedFirst.empty()) environment.emplace(options.searchedFirst);
    error = posix_spawnp(&child, program.c_str(), actions.get(), attributes.get(), vector->data(),
                         environment ? environment->get() : environ);
  }
  if (error != 0) return systemTrouble("{} cannot be started", program, error);
  return child;
}

}  // namespace quorlin
