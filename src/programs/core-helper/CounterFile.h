/// Whole numbers in files of sysfs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace quorlin {

/// Nothing when the file cannot be read or holds anything else.
std::optional<std::uint64_t> readCounter(const std::filesystem::path& file);

/// How far a counter that only rises has come; nothing when it cannot be told.
std::optional<std::uint64_t> risenBy(std::optional<std::uint64_t> before, std::optional<std::uint64_t> after);

}  // namespace quorlin
