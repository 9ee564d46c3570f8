#include "probes/SmcClient.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace quorlin {
namespace {

std::int32_t signedByte(std::uint8_t byte) { return static_cast<std::int8_t>(byte); }

bool isOfType(const SmcValue& value, std::string_view type) {
  return std::string_view(value.dataType.data(), value.dataType.size() - 1) == type;
}

/// "F0Ac". A key has four characters, so an index without exactly one digit is its caller's error.
std::string fanKey(int fan, std::string_view what) {
  if (fan < 0 || fan > 9) std::abort();
  return "F" + std::to_string(fan) + std::string(what);
}

int failed(const char* call, std::uint32_t result) {
  std::printf("Error: %s() = %08x\n", call, result);
  return 1;
}

std::uint32_t ask(std::uint8_t command, std::uint32_t key, std::uint32_t dataSize, SmcRecord& answer,
                  SmcConnection& connection) {
  SmcRecord question;
  question.key = key;
  question.keyInfo.dataSize = dataSize;
  question.command = command;
  return smcCall(kSmcMethod, question, answer, connection);
}

}  // namespace

std::uint32_t smcKeyFromText(std::string_view text) {
  std::uint32_t key = 0;
  for (std::size_t i = 0; i < 4 && i < text.size(); ++i) {
    key += static_cast<std::uint32_t>(static_cast<signed char>(text[i])) << (24 - 8 * i);
  }
  return key;
}

std::array<char, 5> smcKeyToText(std::uint32_t key) {
  std::array<char, 5> text{};
  for (std::size_t i = 0; i < 4; ++i) text[i] = static_cast<char>(key >> (24 - 8 * i));
  return text;
}

int smcOpen(SmcService& service, std::unique_ptr<SmcConnection>& connection) {
  const SmcSearch search = service.find(kSmcServiceClass);
  if (search.result != 0) return failed("IOServiceGetMatchingServices", search.result);
  if (search.service.empty()) {
    std::printf("Error: no SMC found\n");
    return 1;
  }
  SmcOpening opening = service.open(search.service);
  if (opening.result != 0) return failed("IOServiceOpen", opening.result);
  connection = std::move(opening.connection);
  return 0;
}

std::uint32_t smcClose(std::unique_ptr<SmcConnection> connection) { return connection->close(); }

std::uint32_t smcCall(std::uint32_t method, const SmcRecord& input, SmcRecord& output,
                      SmcConnection& connection) {
  return connection.exchange(method, input, output);
}

std::uint32_t smcReadKey(std::string_view key, SmcValue& value, SmcConnection& connection) {
  const std::uint32_t number = smcKeyFromText(key);
  value = {};
  key.copy(value.key.data(), 4);
  SmcRecord info;
  if (const std::uint32_t result = ask(kSmcReadKeyInfo, number, 0, info, connection); result != 0)
    return result;
  value.dataSize = info.keyInfo.dataSize;
  std::ranges::copy(info.keyInfo.dataType, value.dataType.begin());
  SmcRecord read;
  const std::uint32_t result = ask(kSmcReadBytes, number, value.dataSize, read, connection);
  if (result == 0) value.bytes = read.bytes;
  return result;
}

double smcReadDouble(std::string_view key, SmcConnection& connection) {
  SmcValue value;
  if (smcReadKey(key, value, connection) != 0 || value.dataSize == 0) return -1.0;
  if (isOfType(value, "sp78")) {
    // Both bytes have a sign, the fraction too: one of 0x80 and more takes 1 off the value.
    return ((signedByte(value.bytes[0]) * 256 + signedByte(value.bytes[1])) >> 2) * 0.015625;
  }
  return isOfType(value, "flt ") ? static_cast<double>(smcBytesToFloat(value.bytes)) : -1.0;
}

float smcReadFanSpeed(int fan, SmcConnection& connection) {
  SmcValue value;
  if (smcReadKey(fanKey(fan, "Ac"), value, connection) != 0 || value.dataSize == 0) return 0.0F;
  if (isOfType(value, "fpe2")) return static_cast<float>(value.bytes[0] * 256 + value.bytes[1]) * 0.25F;
  return isOfType(value, "flt ") ? smcBytesToFloat(value.bytes) : 0.0F;
}

int smcReadFanName(int fan, std::span<char, 12> name, SmcConnection& connection) {
  // The code proper: above it are the system and subsystem that report it.
  constexpr std::uint32_t code = 0x3FFF;
  const std::uint32_t key = smcKeyFromText(fanKey(fan, "ID"));
  SmcRecord info;
  if ((ask(kSmcReadKeyInfo, key, 0, info, connection) & code) != 0 || info.result != 0) return 0;
  SmcRecord read;
  if ((ask(kSmcReadBytes, key, info.keyInfo.dataSize, read, connection) & code) != 0) return 0;
  if (info.keyInfo.dataSize != 16 || info.keyInfo.dataType != std::array{'{', 'f', 'd', 's'}) return 0;
  const auto descriptor = std::span(read.bytes).subspan<4, 12>();
  std::copy(descriptor.begin(), std::ranges::find(descriptor, ' '), name.begin());
  return 1;
}

std::uint32_t smcReadUInt(std::string_view key, SmcConnection& connection) {
  SmcValue value;
  if (smcReadKey(key, value, connection) != 0) return 0;
  return smcBytesToUInt(value.bytes, static_cast<std::int32_t>(value.dataSize), 10);
}

std::uint32_t smcBytesToUInt(const SmcBytes& bytes, std::int32_t size, int base) {
  const auto first = std::span(bytes).first(static_cast<std::size_t>(std::clamp(size, 0, 32)));
  if (base != 16) return first.empty() ? 0 : first.back();
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : first) sum = (sum << 8) + static_cast<std::uint32_t>(signedByte(byte));
  return sum;
}

float smcBytesToFloat(const SmcBytes& bytes) {
  float number = 0;
  std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

}  // namespace quorlin
