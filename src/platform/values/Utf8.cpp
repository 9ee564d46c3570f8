#include "platform/values/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace quorlin {
namespace {

bool isContinuation(char byte) { return (static_cast<std::uint8_t>(byte) & 0xC0U) == 0x80U; }

/// The length of the well-formed sequence that the bytes begin with, or 0.
std::size_t sequenceLength(std::string_view bytes) {
  const auto first = static_cast<std::uint8_t>(bytes.front());
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || bytes.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if (!isContinuation(bytes[i])) return 0;
  }
  const auto second = static_cast<std::uint8_t>(bytes[1]);
  if (first == 0xE0 && second < 0xA0) return 0;
  if (first == 0xED && second > 0x9F) return 0;
  if (first == 0xF0 && second < 0x90) return 0;
  if (first == 0xF4 && second > 0x8F) return 0;
  return length;
}

}  // namespace

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = sequenceLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

char32_t takeCodePoint(std::string_view& text) {
  const auto first = static_cast<std::uint8_t>(text.front());
  char32_t codePoint = first < 0x80   ? first
                       : first < 0xE0 ? first & 0x1FU
                       : first < 0xF0 ? first & 0x0FU
                                      : first & 7U;
  for (text.remove_prefix(1); !text.empty() && isContinuation(text.front()); text.remove_prefix(1)) {
    codePoint = codePoint << 6U | (static_cast<std::uint8_t>(text.front()) & 0x3FU);
  }
  return codePoint;
}

std::string withoutMalformedUtf8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = sequenceLength(bytes);
    text += length == 0 ? std::string_view("\xEF\xBF\xBD") : bytes.substr(0, length);
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

bool isControl(char32_t codePoint) { return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0); }

bool isDirectionMark(char32_t codePoint) {
  return codePoint == 0x061C || codePoint == 0x200E || codePoint == 0x200F ||
         (codePoint >= 0x2028 && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

std::string withoutTerminalControls(std::string_view bytes, std::string_view kept) {
  const std::string text = withoutMalformedUtf8(bytes);
  std::string shown;
  shown.reserve(text.size());
  for (std::string_view rest = text; !rest.empty();) {
    std::string_view character = rest;
    const char32_t codePoint = takeCodePoint(rest);
    character.remove_suffix(rest.size());
    if (isDirectionMark(codePoint)) continue;
    const bool isKept = kept.find(character) != std::string_view::npos;
    shown += isControl(codePoint) && !isKept ? " " : character;
  }
  return shown;
}

}  // namespace quorlin
