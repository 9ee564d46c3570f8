/// Whole numbers in files of sysfs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace quorlin {

/// Nothing when the file cannot be read or has any other text.
std::optional<std::uint64_t> readCounter(const std::filesystem::path& file);

/// How far a counter that only rises has risen; nothing when one reading is absent or it has fallen.
std::optional<std::uint64_t> risenBy(std::optional<std::uint64_t> before, std::optional<std::uint64_t> after);

}  // namespace quorlin
