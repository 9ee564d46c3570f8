/// Message digests.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace quorlin {

std::array<std::uint8_t, 16> md5(std::string_view bytes);

}  // namespace quorlin
