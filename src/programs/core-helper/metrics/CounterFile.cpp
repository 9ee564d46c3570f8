#include "programs/core-helper/metrics/CounterFile.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <string>

namespace quorlin {

std::optional<std::uint64_t> readCounter(const std::filesystem::path& file) {
  const Result<std::string> text = readText(file.string());
  return text ? wholeNumber<std::uint64_t>(*text) : std::nullopt;
}

std::optional<std::uint64_t> risenBy(std::optional<std::uint64_t> before,
                                     std::optional<std::uint64_t> after) {
  if (!before || !after || *after < *before) return std::nullopt;
  return *after - *before;
}

}  // namespace quorlin
