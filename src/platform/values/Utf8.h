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

/// A control character, of C0 or C1 (Unicode 15, general category Cc).
bool isControl(char32_t codePoint);

/// A character that changes the direction of the text or ends its line (Unicode 15, property Bidi_Control and
/// general categories Zl and Zp).
bool isDirectionMark(char32_t codePoint);

/// The text so that it cannot drive a terminal: a space in place of each control character except those that
/// are kept, no direction marks, U+FFFD in place of each malformed byte.
std::string withoutTerminalControls(std::string_view bytes, std::string_view kept = {});

}  // namespace quorlin
