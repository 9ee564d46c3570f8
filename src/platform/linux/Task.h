/// Child processes with posix_spawn.
#pragma once

#include "platform/Task.h"

namespace quorlin {

/// Any thread. The child gets the agent's environment and none of its descriptors but the three standard
/// ones.
class LinuxTaskLauncher final : public TaskLauncher {
 public:
  std::optional<Data> standardOutputOf(const std::string& launchPath,
                                       const std::vector<std::string>& arguments) override;
};

}  // namespace quorlin
