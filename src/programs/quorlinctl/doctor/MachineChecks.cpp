/// The checks of the kind of machine.
#include "platform/linux/power/SmcService.h"
#include "platform/linux/processes/Task.h"
#include "platform/posix/TextFile.h"
#include "probes/SystemInformation.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/doctor/Machine.h"

#include <cerrno>

#include <fmt/format.h>

namespace quorlin {

Finding checkMachine(const SystemRoots& roots) {
  const std::optional<std::string> sign = signOfVirtualMachine(roots);
  if (!sign) return {CheckState::Ok, "This is a real machine."};
  return {CheckState::Note,
          fmt::format("This is a virtual machine, which has no sensors of its own. {}", *sign)};
}

Finding checkProcessor() {
  const std::optional<Data> profile =
      LinuxTaskLauncher().standardOutputOf("/bin/sh", {"-c", std::string(kHardwareProfileCommand)});
  const std::string name = profile ? processorNameFromProfile(*profile) : "";
  if (!name.empty()) return {CheckState::Ok, fmt::format("The processor is {}.", excerpt(name))};
  return {CheckState::Note, "The name of the processor is unknown."};
}

std::optional<Finding> checkSmc(const SystemRoots& roots) {
  SysfsSmcService service(roots.sysfs);
  const SmcSearch search = service.find(kSmcServiceClass);
  if (search.service.empty()) {
    if (!textIn(roots.sysfs / "class/dmi/id/sys_vendor").starts_with("Apple")) return std::nullopt;
    return Finding{CheckState::Note,
                   "The fans and sensors of this Mac need the driver applesmc, which is not loaded.",
                   "Load it with 'sudo modprobe applesmc'; the kernel does not support every model."};
  }
  const std::string keys = textIn(roots.sysfs / "devices/platform" / search.service / "key_count");
  const std::string count = keys.empty() ? "an unknown number of" : excerpt(keys);
  const std::uint32_t result = service.open(search.service).result;
  if (result == EACCES) {
    return Finding{CheckState::Ok, fmt::format("The controller {} has {} keys, which only root can read.",
                                               search.service, count)};
  }
  if (result != 0) {
    return Finding{CheckState::Ok, fmt::format("The controller {} has {} keys, which cannot be read: {}.",
                                               search.service, count, errorText(static_cast<int>(result)))};
  }
  return Finding{CheckState::Ok, fmt::format("The controller {} has {} keys.", search.service, count)};
}

}  // namespace quorlin
