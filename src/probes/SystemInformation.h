/// Reads the profile that system_profiler prints.
#pragma once

#include "platform/values/PropertyList.h"

#include <string>
#include <string_view>

namespace quorlin {

/// For the shell.
inline constexpr std::string_view kHardwareProfileCommand = "system_profiler SPHardwareDataType -xml";

/// The "cpu_type", else the "chip_type", of the one item of a hardware profile; empty if it has neither.
std::string processorNameFromProfile(const Data& profile);

}  // namespace quorlin
