#include "programs/core-helper/metrics/CounterFile.h"

#include "platform/posix/TextFile.h"

#include <charconv>
#include <string>

namespace quorlin {

std::optional<std::uint64_t> readCounter(const std::filesystem::path& file) {
  const Result<std::string> text = readText(file.string());
  if (!text) return std::nullopt;
  std::uint64_t number = 0;
  const char* end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> risenBy(std::optional<std::uint64_t> before,
                                     std::optional<std::uint64_t> after) {
  if (!before || !after || *after < *before) return std::nullopt;
  return *after - *before;
}

}  // namespace quorlin
