/// Child processes.
#pragma once

#include "platform/values/PropertyList.h"

#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// Any thread.
class TaskLauncher {
 public:
  virtual ~TaskLauncher() = default;

  /// Runs a program and returns all that it wrote to its standard output; input and error stream are the
  /// agent's own. Blocks until the child has ended. Nothing when it could not be started.
  virtual std::optional<Data> standardOutputOf(const std::string& launchPath,
                                               const std::vector<std::string>& arguments) = 0;

  /// Starts a program and does not wait for it; its output goes where the agent's own goes. False when it
  /// could not be started.
  virtual bool launch(const std::string& launchPath, const std::vector<std::string>& arguments) = 0;
};

}  // namespace quorlin
