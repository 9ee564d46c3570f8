/// Child processes, reaped by the main loop.
#pragma once

#include "platform/Task.h"
#include "platform/linux/processes/BundledPrograms.h"

#include <utility>

namespace quorlin {

class LinuxTaskLauncher final : public TaskLauncher {
 public:
  explicit LinuxTaskLauncher(std::filesystem::path bundle = bundleFolder()) : bundle_(std::move(bundle)) {}

  /// nettop and system_profiler are those of the bundle: Linux lacks them, or has other programs of these
  /// names. Callers start the first by its path; a shell finds the second, since its PATH begins with the
  /// bundle.
  std::optional<Data> standardOutputOf(const std::string& launchPath,
                                       const std::vector<std::string>& arguments) override;

  /// The child gets no input, and its own session, so that the agent's terminal is not its terminal.
  bool launch(const std::string& launchPath, const std::vector<std::string>& arguments) override;

 private:
  std::filesystem::path bundle_;
};

}  // namespace quorlin
