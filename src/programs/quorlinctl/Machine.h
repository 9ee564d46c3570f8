/// What kind of machine doctor looks at.
#pragma once

#include "quorlinctl/Checks.h"

namespace quorlin {

/// The text of a small file; empty when it cannot be read.
std::string textIn(const std::filesystem::path& file);

/// What makes this a virtual machine, or an empty text.
std::string signOfVirtualMachine(const SystemRoots& roots);

/// A kernel module that would have to be loaded; in a virtual machine, without hardware, that is nothing to
/// mend.
CheckResult driverMissing(const SystemRoots& roots, std::string subject, std::string finding,
                          const std::string& module);

}  // namespace quorlin
