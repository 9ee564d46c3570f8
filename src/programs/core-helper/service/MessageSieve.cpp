#include "programs/core-helper/service/MessageSieve.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <endian.h>

namespace quorlin {
namespace {

// The header's fixed part and the length of its fields: byte order, type, flags, version of the protocol,
// length of the body, serial number, length of the fields.
constexpr std::size_t kFixedPart = 16;
constexpr std::size_t kType = 1;
constexpr std::size_t kFlags = 2;
constexpr std::size_t kBodyLength = 4;
constexpr std::size_t kFieldsLength = 12;

constexpr char kMethodCall = 1;
constexpr char kNoReplyExpected = 1;
constexpr char kSenderField = 7;

/// No line of the authentication begins like a message.
bool beginsMessage(char first) { return first == 'l' || first == 'B'; }

constexpr std::uint64_t aligned(std::uint64_t offset, std::uint64_t to) {
  return (offset + to - 1) / to * to;
}

/// 0 past the end.
std::uint64_t numberAt(const std::string& message, std::uint64_t offset) {
  std::uint32_t number = 0;
  if (offset + sizeof number > message.size()) return 0;
  std::memcpy(&number, message.data() + offset, sizeof number);
  return message.front() == 'l' ? le32toh(number) : be32toh(number);
}

/// Walks over the fields, each a code and a variant of a string, a signature or a number. Empty where there
/// is no sender, which the bus adds to every message.
std::string senderOf(const std::string& message) {
  const std::uint64_t end =
      std::min<std::uint64_t>(kFixedPart + numberAt(message, kFieldsLength), message.size());
  for (std::uint64_t field = kFixedPart; field + 8 <= end; field = aligned(field, 8)) {
    const char code = message[field];
    const char type = message[field + 2];
    if (type == 's' || type == 'o') {
      const std::uint64_t length = numberAt(message, field + 4);
      if (field + 8 + length > end) break;
      if (code == kSenderField) return message.substr(field + 8, length);
      field += 8 + length + 1;
    } else if (type == 'g') {
      field += 4 + static_cast<unsigned char>(message[field + 4]) + 2U;
    } else if (type == 'u') {
      field += 8;
    } else {
      break;
    }
  }
  return {};
}

}  // namespace

void MessageSieve::take(std::string_view bytes) {
  while (!bytes.empty()) {
    if (head_.empty() && dropping_ > 0) {
      const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(dropping_, bytes.size()));
      bytes.remove_prefix(count);
      dropping_ -= count;
    } else if (!beginsMessage(head_.empty() ? bytes.front() : head_.front())) {
      const std::size_t count = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
      head_.append(bytes.substr(0, count));
      bytes.remove_prefix(count);
      if (head_.back() == '\n') pass();
    } else {
      if (head_.empty()) wanted_ = kFixedPart;
      const auto count =
          static_cast<std::size_t>(std::min<std::uint64_t>(wanted_ - head_.size(), bytes.size()));
      head_.append(bytes.substr(0, count));
      bytes.remove_prefix(count);
      if (head_.size() == wanted_ && wanted_ == kFixedPart) judge();
      if (!head_.empty() && head_.size() == wanted_) pass();
    }
  }
}

void MessageSieve::judge() {
  const std::uint64_t header = kFixedPart + aligned(numberAt(head_, kFieldsLength), 8);
  const std::uint64_t body = numberAt(head_, kBodyLength);
  const bool isUnanswerable = head_[kType] == kMethodCall && (head_[kFlags] & kNoReplyExpected) != 0;
  if (isUnanswerable || header > kLongestMessage) {
    dropping_ = header + body - kFixedPart;
    head_.clear();
  } else if (header + body > kLongestMessage) {
    std::fill_n(head_.begin() + kBodyLength, 4, '\0');
    wanted_ = header;
    dropping_ = body;
  } else {
    wanted_ = header + body;
  }
}

void MessageSieve::pass() {
  const bool isCall = beginsMessage(head_.front()) && head_[kType] == kMethodCall;
  BusInput input{.bytes = std::exchange(head_, {}), .caller = {}};
  if (isCall) input.caller = senderOf(input.bytes);
  passed_(std::move(input));
}

}  // namespace quorlin
