/// Starting child processes.
#pragma once

#include "platform/posix/ChildProcess.h"
#include "platform/values/Result.h"

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace quorlin {

struct SpawnOptions {
  /// The child's standard output; the parent's own without one.
  std::optional<int> output = {};
  /// The child's working directory; empty for the parent's own.
  std::string folder = {};
  /// The child's error stream; the parent's own without one.
  std::optional<int> errors = {};
  /// Away from the terminal: no input, its own session.
  bool detached = false;
  /// The first folder in the child's PATH; empty for an unchanged PATH.
  std::string searchedFirst = {};
};

/// Starts a program; a name without a slash is looked up on the PATH. The child gets this process's
/// environment, except for a changed PATH, and of its descriptors only the three standard ones. Any thread.
Result<pid_t> spawn(const std::string& program, const std::vector<std::string>& arguments,
                    const SpawnOptions& options);

}  // namespace quorlin
