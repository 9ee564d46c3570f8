/// Readable names of processes.
#pragma once

#include "platform/linux/system/SystemRoots.h"

#include <cstdint>
#include <string>

namespace quorlin {

/// The name of the process's application in its desktop entry, else the process's own name, or "?" if neither
/// can be read, as when the process has ended.
std::string nameOfProcess(std::int32_t process, const SystemRoots& roots);

}  // namespace quorlin
