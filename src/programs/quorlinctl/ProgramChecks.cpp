/// The checks of the programs that come with this one.
#include "inspect/NetTop.h"
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
  const std::string subject = "network applications";
  if (bundledProgram("nettop").empty()) return missing(subject, "nettop");
  LinuxTaskLauncher launcher;
  const std::optional<Data> output = outputOfNetTop(launcher);
  if (output && !output->empty()) return {CheckState::Ok, subject, "nettop lists them", ""};
  return {CheckState::Missing, subject, "nettop cannot ask the kernel for its connections",
          "sudo modprobe tcp_diag"};
}

}  // namespace quorlin
