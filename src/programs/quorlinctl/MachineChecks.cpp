/// The checks of what kind of machine this is.
#include "platform/linux/SmcService.h"
#include "platform/linux/Task.h"
#include "platform/posix/TextFile.h"
#include "probes/SystemInformation.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Machine.h"

#include <cerrno>

namespace quorlin {

CheckResult checkMachine(const SystemRoots& roots) {
  const std::string sign = signOfVirtualMachine(roots);
  if (sign.empty()) return {CheckState::Ok, "machine", "no sign of a virtual machine", ""};
  return {CheckState::Note, "machine",
          "this is a virtual machine (" + sign + "): it has no sensors of its own", ""};
}

CheckResult checkProcessor() {
  const std::optional<Data> profile =
      LinuxTaskLauncher().standardOutputOf("/bin/sh", {"-c", std::string(kHardwareProfileCommand)});
  const std::string name = profile ? processorNameFromProfile(*profile) : "";
  if (!name.empty()) return {CheckState::Ok, "processor", name, ""};
  return {CheckState::Note, "processor", "system_profiler does not tell its name", ""};
}

std::optional<CheckResult> checkSmc(const SystemRoots& roots) {
  const std::string subject = "system controller";
  SysfsSmcService service(roots.sysfs);
  const SmcSearch search = service.find(kSmcServiceClass);
  if (search.service.empty()) {
    if (!textIn(roots.sysfs / "class/dmi/id/sys_vendor").starts_with("Apple")) return std::nullopt;
    return CheckResult{CheckState::Note, subject,
                       "a Mac without the driver applesmc, which reads its fans and sensors",
                       "sudo modprobe applesmc, unless the kernel does not know this model"};
  }
  const std::string keys = textIn(roots.sysfs / "devices/platform" / search.service / "key_count");
  const std::uint32_t result = service.open(search.service).result;
  return CheckResult{CheckState::Ok, subject,
                     search.service + " with " + (keys.empty() ? "an unknown number of" : displayText(keys)) +
                         " keys" +
                         (result == EACCES ? ", which only root may read"
                          : result != 0    ? ", which cannot be read: " + errorText(static_cast<int>(result))
                                           : ""),
                     ""};
}

}  // namespace quorlin
