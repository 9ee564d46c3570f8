#include "programs/quorlinctl/doctor/Machine.h"

#include "platform/linux/system/CpuInfo.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace quorlin {

std::string textIn(const std::filesystem::path& file) { return readText(file.string()).value_or(""); }

std::optional<std::string> signOfVirtualMachine(const SystemRoots& roots) {
  // Words that hypervisors write into the firmware's tables and hardware makers do not.
  constexpr std::array<std::string_view, 10> words = {
      "QEMU",  "KVM",       "VMware",          "VirtualBox", "Xen",
      "Bochs", "Parallels", "Virtual Machine", "HVM domU",   "Compute Engine"};
  const std::string flags = " " + processorField(roots.procfs, "flags") + " ";
  if (flags.find(" hypervisor ") != std::string::npos) return "The processor has the flag hypervisor.";
  for (const char* const entry : {"product_name", "sys_vendor"}) {
    const std::string text = textIn(roots.sysfs / "class/dmi/id" / entry);
    if (std::ranges::any_of(words, [&](auto word) { return text.find(word) != std::string::npos; })) {
      return fmt::format("The file {} contains {}.", entry, excerpt(text));
    }
  }
  return std::nullopt;
}

Finding driverMissing(const SystemRoots& roots, const std::string& problem, std::string_view module) {
  if (signOfVirtualMachine(roots)) {
    return {CheckState::Note, fmt::format("{} This is usual in a virtual machine.", problem)};
  }
  return {CheckState::Missing, problem,
          fmt::format("Load it now with 'sudo modprobe {0}', and at every start with 'echo {0} | sudo tee "
                      "/etc/modules-load.d/{0}.conf'.",
                      module)};
}

}  // namespace quorlin
