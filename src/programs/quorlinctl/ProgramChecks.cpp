/// The checks of the programs that the agent runs.
#include "inspect/NetTop.h"
#include "platform/linux/BundledPrograms.h"
#include "platform/linux/Task.h"
#include "quorlinctl/Checks.h"

#include <algorithm>

#include <unistd.h>

namespace quorlin {

CheckResult checkProgram(std::string_view program, std::string_view package, std::string_view folders) {
  const std::string subject = "program " + std::string(program);
  for (std::string_view rest = folders; !rest.empty();) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    const std::string path = std::string(folder) + "/" + std::string(program);
    if (::access(path.c_str(), X_OK) == 0) return {CheckState::Ok, subject, path, ""};
  }
  return {CheckState::Missing, subject, "not in " + std::string(folders),
          "sudo apt install " + std::string(package)};
}

CheckResult checkNetTop() {
  const std::string subject = "network applications";
  if (bundledProgram("nettop").empty()) {
    return {CheckState::Missing, subject, "there is no " + (bundleFolder() / "nettop").native(),
            "install Quorlin Sensors anew"};
  }
  LinuxTaskLauncher launcher;
  const std::optional<Data> output = outputOfNetTop(launcher);
  if (output && !output->empty()) return {CheckState::Ok, subject, "nettop lists them", ""};
  return {CheckState::Missing, subject, "nettop fails",
          "it has said why on the error stream; a kernel that does not tell its connections may need: sudo "
          "modprobe tcp_diag"};
}

}  // namespace quorlin
