/// The check of what only some makers build into their machines.
#include "platform/linux/SmcService.h"
#include "platform/posix/TextFile.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Machine.h"

#include <cerrno>

namespace quorlin {

CheckResult checkSmc(const SystemRoots& roots) {
  const std::string subject = "system controller";
  SysfsSmcService service(roots.sysfs);
  const SmcSearch search = service.find(kSmcServiceClass);
  if (search.service.empty()) {
    if (textIn(roots.sysfs / "class/dmi/id/sys_vendor").starts_with("Apple")) {
      return {CheckState::Note, subject,
              "a Mac without the driver applesmc, which reads its fans and sensors",
              "sudo modprobe applesmc, unless the kernel does not know this model"};
    }
    return {CheckState::Note, subject, "no applesmc driver: only Intel Macs have this controller", ""};
  }
  const std::string keys = textIn(roots.sysfs / "devices/platform" / search.service / "key_count");
  const std::uint32_t result = service.open(search.service).result;
  return {CheckState::Ok, subject,
          search.service + " with " + (keys.empty() ? "an unknown number of" : displayText(keys)) + " keys" +
              (result == EACCES ? ", which only root may read"
               : result != 0    ? ", which cannot be read: " + errorText(static_cast<int>(result))
                                : ""),
          ""};
}

}  // namespace quorlin
