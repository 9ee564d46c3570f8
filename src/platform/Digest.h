/// Message digests.
#pragma once

#include <string>
#include <string_view>

namespace quorlin {

/// MD5 (RFC 1321) as 32 lowercase hexadecimal digits.
std::string md5Digits(std::string_view bytes);

}  // namespace quorlin
