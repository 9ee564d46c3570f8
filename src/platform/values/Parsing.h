/// Text taken apart.
#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>
#include <system_error>

namespace quorlin {

/// The whole number that is all of the text; nothing for any other text, and for a number out of range.
template <std::integral Integer, int base = 10>
std::optional<Integer> wholeNumber(std::string_view text) {
  Integer number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// Takes what comes before the next separator, or all, off the front of the text, and the separator with it.
inline std::string_view takeUntil(char separator, std::string_view& text) {
  const std::string_view part = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  return part;
}

}  // namespace quorlin
