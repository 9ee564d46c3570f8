/// What /proc/cpuinfo says.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quorlin {

/// The rest of the first line that begins with a key, "vendor_id\t: GenuineIntel"; empty if no line does.
std::string processorField(const std::filesystem::path& procfs, std::string_view key);

}  // namespace quorlin
