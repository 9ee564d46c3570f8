/// Child processes, their ends noticed by the main loop.
#pragma once

#include "platform/Task.h"
#include "platform/linux/BundledPrograms.h"

#include <utility>

namespace quorlin {

class LinuxTaskLauncher final : public TaskLauncher {
 public:
  explicit LinuxTaskLauncher(std::filesystem::path folder = programFolder())
      : programFolder_(std::move(folder)) {}

  /// Commands that Linux lacks, or has by the same name for other things, come with this program: what is
  /// asked for in /usr/bin is looked for among them first, and so is what a shell is asked for.
  std::optional<Data> standardOutputOf(const std::string& launchPath,
                                       const std::vector<std::string>& arguments) override;

  /// The child gets no input and a session of its own, so that the agent's terminal is not its terminal.
  bool launch(const std::string& launchPath, const std::vector<std::string>& arguments) override;

 private:
  std::filesystem::path programFolder_;
};

}  // namespace quorlin
