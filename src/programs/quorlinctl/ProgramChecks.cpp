/// The checks of the programs that come with this one.
#include "platform/linux/BundledPrograms.h"
#include "platform/linux/Task.h"
#include "probes/SystemInformation.h"
#include "quorlinctl/Checks.h"

namespace quorlin {
namespace {

constexpr const char* kReinstall =
    "install Quorlin Sensors anew; it belongs beside this program or in libexec";

CheckResult missing(std::string subject, const std::string& program) {
  return {CheckState::Missing, std::move(subject), program + " did not come with this program", kReinstall};
}

}  // namespace

CheckResult checkProcessor() {
  const std::string subject = "processor";
  if (bundledProgram("system_profiler").empty()) return missing(subject, "system_profiler");
  const std::optional<Data> profile =
      LinuxTaskLauncher().standardOutputOf("/bin/sh", {"-c", std::string(kHardwareProfileCommand)});
  const std::string name = profile ? processorNameFromProfile(*profile) : "";
  if (!name.empty()) return {CheckState::Ok, subject, name, ""};
  return {CheckState::Note, subject, "neither /proc/cpuinfo nor a device tree names it", ""};
}

CheckResult checkNetTop() {
  const std::filesystem::path program = bundledProgram("nettop");
  if (program.empty()) return missing("program nettop", "nettop");
  return {CheckState::Ok, "program nettop", program.string(), ""};
}

}  // namespace quorlin
