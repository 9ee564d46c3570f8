#include "commands/RequestKey.h"

#include "platform/Digest.h"

namespace quorlin {

std::string md5HexDigest(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hex;
  hex.reserve(32);
  for (const std::uint8_t byte : md5(text.substr(0, text.find('\0')))) {
    hex += digits[byte >> 4U];
    hex += digits[byte & 0xFU];
  }
  return hex;
}

std::optional<std::string> requestKey(const std::optional<std::string>& localizedHostName) {
  if (!localizedHostName) return std::nullopt;
  return md5HexDigest(*localizedHostName).substr(0, 8);
}

}  // namespace quorlin
