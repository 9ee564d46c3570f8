/// The checks of the programs that the agent runs.
#include "inspect/NetTop.h"
#include "platform/linux/processes/BundledPrograms.h"
#include "platform/linux/processes/Task.h"
#include "platform/values/Parsing.h"
#include "programs/quorlinctl/doctor/Checks.h"

#include <fmt/format.h>
#include <unistd.h>

namespace quorlin {

Finding checkProgram(std::string_view program, std::string_view package, std::string_view folders) {
  for (std::string_view rest = folders; !rest.empty();) {
    const std::string path = fmt::format("{}/{}", takeUntil(':', rest), program);
    if (::access(path.c_str(), X_OK) == 0) {
      return {CheckState::Ok, fmt::format("{} is installed as {}.", program, path)};
    }
  }
  return {CheckState::Missing, fmt::format("The folders {} do not contain {}.", folders, program),
          fmt::format("Install it with 'sudo apt install {}'.", package)};
}

Finding checkNetTop() {
  if (!bundledProgram("nettop")) {
    return {CheckState::Missing,
            fmt::format("The program {} does not exist.", (bundleFolder() / "nettop").native()),
            "Install Quorlin Sensors again."};
  }
  LinuxTaskLauncher launcher;
  const std::optional<Data> output = outputOfNetTop(launcher);
  if (output && !output->empty()) return {CheckState::Ok, "nettop lists the connections of applications."};
  return {CheckState::Missing, "nettop failed; the error stream shows why.",
          "If the kernel does not list its connections, run 'sudo modprobe tcp_diag'."};
}

}  // namespace quorlin
