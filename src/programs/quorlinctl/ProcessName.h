/// What a person calls a process.
#pragma once

#include "platform/linux/SystemRoots.h"

#include <cstdint>
#include <string>

namespace quorlin {

/// The application that a process belongs to, by the name in its desktop entry, else the process's own name.
/// "?" for a process that cannot be looked at, such as one that has ended.
std::string nameOfProcess(std::int32_t process, const SystemRoots& roots);

}  // namespace quorlin
