/// Sorts what the bus sends to the helper, and lets no message through that costs more than it is worth.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quorlin {

struct BusInput {
  /// A line of the authentication, or a message, as it came.
  std::string bytes;
  /// Of a method call the unique name of its sender; else empty.
  std::string caller;
};

/// Takes the bus's bytes in pieces of any length: first the lines of the authentication, then messages (D-Bus
/// Specification, "Message Format"). A call that expects no reply is dropped. A message that is too long
/// loses its body, so that its caller is still answered, or is dropped if its header alone is too long:
/// libsystemd would keep a whole message in memory, and the bus lets each be 32 MB long.
class MessageSieve {
 public:
  /// In bytes. A request has a few hundred.
  static constexpr std::uint64_t kLongestMessage = 8192;

  explicit MessageSieve(std::function<void(BusInput)> passed) : passed_(std::move(passed)) {}

  void take(std::string_view bytes);

 private:
  void judge();
  void pass();

  std::function<void(BusInput)> passed_;
  std::string head_;
  /// How many bytes the head needs to be whole, and how many after it are dropped.
  std::uint64_t wanted_ = 0;
  std::uint64_t dropping_ = 0;
};

}  // namespace quorlin
