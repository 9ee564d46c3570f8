/// Reads keys of the System Management Controller and converts the common types of value to numbers.
#pragma once

#include "platform/SmcService.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace quorlin {

/// Texts are terminated.
struct SmcValue {
  std::array<char, 5> key{};
  /// In bytes; what the controller says, so perhaps more than there are. 0 for a key that it does not have.
  std::uint32_t dataSize = 0;
  std::array<char, 5> dataType{};
  SmcBytes bytes{};
};

/// Of the first four characters; those that are missing count as 0.
std::uint32_t smcKeyFromText(std::string_view text);

/// Four characters and a terminator.
std::array<char, 5> smcKeyToText(std::uint32_t key);

/// 0, or 1 after a message on the standard output.
int smcOpen(SmcService& service, std::unique_ptr<SmcConnection>& connection);

/// The system's result. The connection is not null.
std::uint32_t smcClose(std::unique_ptr<SmcConnection> connection);

/// The system's result.
std::uint32_t smcCall(std::uint32_t method, const SmcRecord& input, SmcRecord& output,
                      SmcConnection& connection);

/// The first result of a call that is not 0, else 0: also when the controller itself has refused.
std::uint32_t smcReadKey(std::string_view key, SmcValue& value, SmcConnection& connection);

/// The number in a value of the type "sp78" or "flt "; -1 for another type and for a missing value.
double smcReadDouble(std::string_view key, SmcConnection& connection);

/// Revolutions a minute; 0 when they cannot be read. Ends the process unless the fan is one of 0 to 9.
float smcReadFanSpeed(int fan, SmcConnection& connection);

/// 1, or 0 when it cannot be read. The name ends before its first space, or with the twelfth character; the
/// rest of the buffer stays as it was, without a terminator. Ends the process unless the fan is one of 0
/// to 9.
int smcReadFanName(int fan, std::span<char, 12> name, SmcConnection& connection);

/// The last byte of the value, as smcBytesToUInt() computes it for a base other than 16. 0 for a missing
/// value.
std::uint32_t smcReadUInt(std::string_view key, SmcConnection& connection);

/// The sum of the first bytes, each shifted to its place, the most significant first. With base 16 they are
/// signed bytes, shifted and added whole. With any other, only the low eight bits of what was shifted are
/// added, and so only the last byte. A size below 1 makes 0, one above 32 counts as 32.
std::uint32_t smcBytesToUInt(const SmcBytes& bytes, std::int32_t size, int base);

/// The first four, in the machine's own byte order.
float smcBytesToFloat(const SmcBytes& bytes);

}  // namespace quorlin
