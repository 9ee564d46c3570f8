/// The helper's command line.
#pragma once

#include "core-helper/Setup.h"

#include <span>
#include <string_view>

namespace quorlin {

/// Does what the arguments after the program's name say and returns the process's exit status.
int runCoreHelper(const Setup& setup, std::span<const std::string_view> arguments);

}  // namespace quorlin
