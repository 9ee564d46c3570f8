/// The helper's command line.
#pragma once

#include "programs/core-helper/Setup.h"

#include <span>
#include <string_view>

namespace quorlin {

/// Carries out the arguments, which do not include the program's name. Returns the exit status, of
/// sysexits.h.
int runCoreHelper(const Setup& setup, std::span<const std::string_view> arguments);

}  // namespace quorlin
