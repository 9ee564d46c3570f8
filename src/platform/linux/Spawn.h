/// Starting child processes.
#pragma once

#include "platform/posix/ChildProcess.h"

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace quorlin {

struct SpawnOptions {
  /// The child's standard output; the agent's own where there is none.
  std::optional<int> output;
  /// Where the child starts; empty for the agent's own folder.
  std::string folder;
  /// Away from the terminal: no input, a session of its own.
  bool detached = false;
  /// A folder that stands before all others in the child's PATH; empty for none.
  std::string searchedFirst = {};
};

/// Starts a program, looked for on the PATH where its name has no slash. The child gets this process's
/// environment, but for the PATH where a folder is searched first, and none of its descriptors but the three
/// standard ones. Nothing when it could not be started; errno says why. Any thread.
std::optional<pid_t> spawn(const std::string& program, const std::vector<std::string>& arguments,
                           const SpawnOptions& options);

}  // namespace quorlin
