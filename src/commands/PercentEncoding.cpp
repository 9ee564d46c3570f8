#include "commands/PercentEncoding.h"

#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"

#include <cstdint>

namespace quorlin {
namespace {

constexpr std::string_view kUnreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

}  // namespace

std::string percentEncoded(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char character : text) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (kUnreserved.find(character) != std::string_view::npos) {
      encoded += character;
    } else {
      encoded.append({'%', digits[byte >> 4U], digits[byte & 0xFU]});
    }
  }
  return encoded;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    const auto byte = wholeNumber<std::uint8_t, 16>(digits);
    if (digits.size() != 2 || !byte) return std::nullopt;
    decoded += static_cast<char>(*byte);
    i += 2;
  }
  if (decoded.find('\0') != std::string::npos || !isUtf8(decoded)) return std::nullopt;
  return decoded;
}

}  // namespace quorlin
