/// Child processes, their ends noticed by the main loop.
#pragma once

#include "platform/Task.h"
#include "platform/linux/BundledPrograms.h"

#include <utility>

namespace quorlin {

class LinuxTaskLauncher final : public TaskLauncher {
 public:
  explicit LinuxTaskLauncher(std::filesystem::path bundle = bundleFolder()) : bundle_(std::move(bundle)) {}

  /// nettop and system_profiler, which Linux lacks or has by these names for other things, are those of the
  /// bundle: the first is asked for by its path, the second is found by a shell, whose PATH begins with the
  /// bundle.
  std::optional<Data> standardOutputOf(const std::string& launchPath,
                                       const std::vector<std::string>& arguments) override;

  /// The child gets no input and a session of its own, so that the agent's terminal is not its terminal.
  bool launch(const std::string& launchPath, const std::vector<std::string>& arguments) override;

 private:
  std::filesystem::path bundle_;
};

}  // namespace quorlin
