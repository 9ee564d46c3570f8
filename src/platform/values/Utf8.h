/// Text from outside, checked.
#pragma once

#include <string>
#include <string_view>

namespace quorlin {

/// Whether the bytes are well-formed UTF-8 as Unicode 15, table 3-7, defines it; overlong forms and
/// surrogates are not.
bool isUtf8(std::string_view bytes);

/// Takes the first character off well-formed text that is not empty. Returns its code point.
char32_t takeCodePoint(std::string_view& text);

/// The text with U+FFFD in place of each byte that belongs to no well-formed sequence.
std::string withoutMalformedUtf8(std::string_view bytes);

}  // namespace quorlin
