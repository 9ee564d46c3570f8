/// The key that a command by URL must carry.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// 32 lowercase hexadecimal digits: the MD5 digest of the text up to its first zero byte.
std::string md5HexDigest(std::string_view text);

/// The first 8 digits of the digest of the computer's name, or nothing for a computer without one.
std::optional<std::string> requestKey(const std::optional<std::string>& localizedHostName);

}  // namespace quorlin
