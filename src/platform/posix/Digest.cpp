#include "platform/Digest.h"

#include <array>
#include <cstdint>

#include <md5.h>

namespace quorlin {

std::string md5Digits(std::string_view bytes) {
  std::array<char, MD5_DIGEST_STRING_LENGTH> digits{};
  return MD5Data(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), digits.data());
}

}  // namespace quorlin
