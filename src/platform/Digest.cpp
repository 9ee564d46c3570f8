#include "platform/Digest.h"

#include <bit>
#include <cmath>
#include <string>

namespace quorlin {
namespace {

using State = std::array<std::uint32_t, 4>;

/// One block of 64 bytes (RFC 1321, section 3.4).
void addBlock(State& state, std::string_view block) {
  constexpr std::array<std::array<int, 4>, 4> shifts = {
      {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};
  const auto word = [block](std::size_t index) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i > 0; --i) {
      value = value << 8U | static_cast<std::uint8_t>(block[4 * index + i - 1]);
    }
    return value;
  };
  auto [a, b, c, d] = state;
  for (std::size_t i = 0; i < 64; ++i) {
    const std::size_t round = i / 16;
    const std::array<std::uint32_t, 4> mixed = {(b & c) | (~b & d), (b & d) | (c & ~d), b ^ c ^ d,
                                                c ^ (b | ~d)};
    const std::array<std::size_t, 4> chosen = {i, (5 * i + 1) % 16, (3 * i + 5) % 16, 7 * i % 16};
    const auto constant =
        static_cast<std::uint32_t>(std::floor(std::abs(std::sin(static_cast<double>(i + 1))) * 0x1p32));
    const std::uint32_t sum = a + mixed[round] + word(chosen[round]) + constant;
    a = d;
    d = c;
    c = b;
    b += std::rotl(sum, shifts[round][i % 4]);
  }
  state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
}

}  // namespace

std::array<std::uint8_t, 16> md5(std::string_view bytes) {
  std::string message(bytes);
  message += '\x80';
  message.resize((message.size() + 8 + 63) / 64 * 64 - 8);
  for (unsigned shift = 0; shift < 64; shift += 8) {
    message += static_cast<char>(std::uint64_t{bytes.size()} * 8 >> shift);
  }
  State state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
  for (std::string_view rest = message; !rest.empty(); rest.remove_prefix(64)) addBlock(state, rest);
  std::array<std::uint8_t, 16> digest{};
  for (std::size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (8 * (i % 4)));
  }
  return digest;
}

}  // namespace quorlin
