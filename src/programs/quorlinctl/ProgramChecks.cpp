/// The checks of the programs that come with this one.
#include "inspect/NetTop.h"
#include "platform/linux/BundledPrograms.h"
#include "platform/linux/Task.h"
#include "probes/SystemInformation.h"
#include "quorlinctl/Checks.h"

namespace quorlin {
namespace {

CheckResult missing(std::string subject, const char* program) {
  return {CheckState::Missing, std::move(subject), "there is no " + (bundleFolder() / program).native(),
          "install Quorlin Sensors anew"};
}

}  // namespace

CheckResult checkProcessor() {
  const std::string subject = "processor";
  if (bundledProgram("system_profiler").empty()) return missing(subject, "system_profiler");
  const std::optional<Data> profile =
      LinuxTaskLauncher().standardOutputOf("/bin/sh", {"-c", std::string(kHardwareProfileCommand)});
  const std::string name = profile ? processorNameFromProfile(*profile) : "";
  if (!name.empty()) return {CheckState::Ok, subject, name, ""};
  return {CheckState::Note, subject, "system_profiler does not know it", ""};
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
