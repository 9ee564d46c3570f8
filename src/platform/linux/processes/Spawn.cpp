#include "platform/linux/processes/Spawn.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Owned.h"

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
  if (options.errors) actions.add(posix_spawn_file_actions_adddup2, *options.errors, STDERR_FILENO);
  if (options.detached) {
    actions.add(posix_spawn_file_actions_addopen, STDIN_FILENO, "/dev/null", O_RDONLY, mode_t{0});
  }
  if (!options.folder.empty()) actions.add(posix_spawn_file_actions_addchdir_np, options.folder.c_str());
  actions.add(posix_spawn_file_actions_addclosefrom_np, STDERR_FILENO + 1);
}

int setAttributes(posix_spawnattr_t& attributes, bool detached) {
  // The agent ignores it; a child would inherit that.
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  const int error = posix_spawnattr_setsigdefault(&attributes, &defaults);
  if (error != 0) return error;
  const int flags = POSIX_SPAWN_SETSIGDEF | (detached ? POSIX_SPAWN_SETSID : 0);
  return posix_spawnattr_setflags(&attributes, static_cast<short>(flags));
}

/// The variables of this process, with a PATH that begins with a folder. That variable is kept in the string.
std::vector<char*> environmentSearching(const std::string& folder, std::string& path) {
  constexpr std::string_view name = "PATH=";
  std::string_view others = "/usr/local/bin:/usr/bin:/bin";
  std::vector<char*> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text(*variable);
    if (text.starts_with(name)) {
      others = text.substr(name.size());
    } else {
      variables.push_back(*variable);
    }
  }
  path.append(name).append(folder).append(":").append(others);
  variables.push_back(path.data());
  variables.push_back(nullptr);
  return variables;
}

}  // namespace

Result<pid_t> spawn(const std::string& program, const std::vector<std::string>& arguments,
                    const SpawnOptions& options) {
  std::optional<std::vector<char*>> vector = argumentVector(program, arguments);
  if (!vector) return systemTrouble("{} cannot be started", program, EINVAL);
  FileActions actions;
  addActions(options, actions);
  posix_spawnattr_t attributes{};
  posix_spawnattr_init(&attributes);
  const Owned<posix_spawnattr_t, posix_spawnattr_destroy> contents(&attributes);
  pid_t child = 0;
  int error = actions.error();
  if (error == 0) error = setAttributes(attributes, options.detached);
  if (error == 0) {
    std::string path;
    std::vector<char*> environment;
    if (!options.searchedFirst.empty()) environment = environmentSearching(options.searchedFirst, path);
    error = posix_spawnp(&child, program.c_str(), actions.get(), &attributes, vector->data(),
                         environment.empty() ? environ : environment.data());
  }
  if (error != 0) return systemTrouble("{} cannot be started", program, error);
  return child;
}

}  // namespace quorlin
