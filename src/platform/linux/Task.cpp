#include "platform/linux/Task.h"

#include "platform/posix/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// Starts the program with its standard output on the descriptor; nothing when it could not be started.
std::optional<pid_t> spawn(const std::string& path, const std::vector<std::string>& arguments, int output) {
  std::vector<char*> vector = {const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);

  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
  if (posix_spawn_file_actions_init(&actions) != 0) return std::nullopt;
  if (posix_spawnattr_init(&attributes) != 0) {
    posix_spawn_file_actions_destroy(&actions);
    return std::nullopt;
  }
  // The agent ignores it, which a child would inherit.
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t child = 0;
  int error = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  if (error == 0) error = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  if (error == 0) error = posix_spawn(&child, path.c_str(), &actions, &attributes, vector.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? std::optional(child) : std::nullopt;
}

Data readToEnd(int descriptor) {
  Data output;
  std::array<std::uint8_t, 65536> buffer{};
  while (true) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return output;
    output.insert(output.end(), buffer.begin(), buffer.begin() + count);
  }
}

}  // namespace

std::optional<Data> LinuxTaskLauncher::standardOutputOf(const std::string& launchPath,
                                                        const std::vector<std::string>& arguments) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);

  const std::optional<pid_t> child = spawn(launchPath, arguments, writeEnd.get());
  writeEnd.reset();
  if (!child) return std::nullopt;
  Data output = readToEnd(readEnd.get());
  while (waitpid(*child, nullptr, 0) < 0 && errno == EINTR) {
  }
  return output;
}

}  // namespace quorlin
