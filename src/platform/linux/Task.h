/// Child processes, their ends noticed by the main loop.
#pragma once

#include "platform/Task.h"

namespace quorlin {

class LinuxTaskLauncher final : public TaskLauncher {
 public:
  std::optional<Data> standardOutputOf(const std::string& launchPath,
                                       const std::vector<std::string>& arguments) override;

  /// The child gets no input and a session of its own, so that the agent's terminal is not its terminal.
  bool launch(const std::string& launchPath, const std::vector<std::string>& arguments) override;
};

}  // namespace quorlin
