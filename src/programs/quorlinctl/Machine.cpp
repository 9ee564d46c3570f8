#include "quorlinctl/Machine.h"

#include "platform/linux/CpuInfo.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quorlin {

std::string textIn(const std::filesystem::path& file) { return readText(file.string()).value_or(""); }

std::string signOfVirtualMachine(const SystemRoots& roots) {
  // Of the words that hypervisors write into the tables of firmware, those that no hardware maker uses.
  constexpr std::array<std::string_view, 10> words = {
      "QEMU",  "KVM",       "VMware",          "VirtualBox", "Xen",
      "Bochs", "Parallels", "Virtual Machine", "HVM domU",   "Compute Engine"};
  const std::string flags = " " + processorField(roots.procfs, "flags") + " ";
  if (flags.find(" hypervisor ") != std::string::npos) return "the processor has the flag hypervisor";
  for (const char* const entry : {"product_name", "sys_vendor"}) {
    const std::string text = textIn(roots.sysfs / "class/dmi/id" / entry);
    if (std::ranges::any_of(words, [&](auto word) { return text.find(word) != std::string::npos; })) {
      return std::string("its ") + entry + " is " + text;
    }
  }
  return {};
}

CheckResult driverMissing(const SystemRoots& roots, std::string subject, std::string finding,
                          const std::string& module) {
  if (!signOfVirtualMachine(roots).empty()) {
    return {CheckState::Note, std::move(subject), std::move(finding) + ", as is usual in a virtual machine",
            ""};
  }
  return {CheckState::Missing, std::move(subject), std::move(finding),
          "sudo modprobe " + module + "; for every start: echo " + module +
              " | sudo tee /etc/modules-load.d/" + module + ".conf"};
}

}  // namespace quorlin
