/// Percent-encoding of the arguments of commands by URL (RFC 3986, section 2.1).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// Every byte but the unreserved characters (ASCII letters, digits, "-._~") as % and two upper-case
/// hexadecimal digits.
std::string percentEncoded(std::string_view text);

/// Each %XX undone, in either case; all else stays as it is. Nothing for a % without two hexadecimal digits,
/// and for a result that is not UTF-8 or holds a zero byte, which no path and no command line can carry.
std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace quorlin
