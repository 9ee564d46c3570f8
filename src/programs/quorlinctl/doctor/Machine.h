/// The kind of machine that doctor looks at.
#pragma once

#include "programs/quorlinctl/doctor/Checks.h"

namespace quorlin {

/// The text of a small file; empty if it cannot be read.
std::string textIn(const std::filesystem::path& file);

/// The sign that this is a virtual machine, as a sentence.
std::optional<std::string> signOfVirtualMachine(const SystemRoots& roots);

/// A kernel module to be loaded; the problem is a whole sentence. A virtual machine does not need it, since
/// it lacks the hardware.
Finding driverMissing(const SystemRoots& roots, const std::string& problem, std::string_view module);

}  // namespace quorlin
