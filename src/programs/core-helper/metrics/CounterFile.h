/// Whole numbers in files of sysfs.
#pragma once

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace quorlin {

/// Nothing when the file cannot be read or has any other text.
inline std::optional<std::uint64_t> readCounter(const std::filesystem::path& file) {
  return wholeNumber<std::uint64_t>(readText(file.string()).value_or(""));
}

/// How far a counter that only rises has risen; nothing when one reading is absent or it has fallen.
inline std::optional<std::uint64_t> risenBy(std::optional<std::uint64_t> before,
                                            std::optional<std::uint64_t> after) {
  if (!before || !after || *after < *before) return std::nullopt;
  return *after - *before;
}

}  // namespace quorlin
