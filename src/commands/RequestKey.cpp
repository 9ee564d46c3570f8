#include "commands/RequestKey.h"

#include "platform/Digest.h"

namespace quorlin {

std::string md5HexDigest(std::string_view text) { return md5Digits(text.substr(0, text.find('\0'))); }

std::optional<std::string> requestKey(const std::optional<std::string>& localizedHostName) {
  if (!localizedHostName) return std::nullopt;
  return md5HexDigest(*localizedHostName).substr(0, 8);
}

}  // namespace quorlin
