/// The System Management Controller, which keeps a machine's fans and sensors, and the record exchanged with
/// it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace quorlin {

using SmcBytes = std::array<std::uint8_t, 32>;

/// What goes in and what comes out, numbers in the machine's own byte order. Zeros are the rest.
struct SmcRecord {
  struct KeyInfo {
    /// In bytes.
    std::uint32_t dataSize = 0;
    /// In the order in which they are read, and so in memory.
    std::array<char, 4> dataType{};
    std::uint8_t attributes = 0;
    std::array<std::uint8_t, 3> padding{};
  };

  /// Four characters, the first in the most significant byte.
  std::uint32_t key = 0;
  /// Versions and power limits, which no reading uses.
  std::array<std::uint8_t, 24> unused{};
  KeyInfo keyInfo;
  /// Not 0 when the controller has refused.
  std::uint8_t result = 0;
  std::uint8_t status = 0;
  std::uint8_t command = 0;
  std::uint8_t padding = 0;
  std::uint32_t data32 = 0;
  SmcBytes bytes{};
};
static_assert(sizeof(SmcRecord) == 80 && std::has_unique_object_representations_v<SmcRecord>);
static_assert(offsetof(SmcRecord, key) == 0 && offsetof(SmcRecord, keyInfo.dataSize) == 28 &&
              offsetof(SmcRecord, keyInfo.dataType) == 32 && offsetof(SmcRecord, result) == 40 &&
              offsetof(SmcRecord, command) == 42 && offsetof(SmcRecord, bytes) == 48);

inline constexpr const char* kSmcServiceClass = "AppleSMC";
/// The method that exchanges records, and its two commands: the first returns a key's size and type, the
/// second, given that size, its bytes.
inline constexpr std::uint32_t kSmcMethod = 2;
inline constexpr std::uint8_t kSmcReadKeyInfo = 9;
inline constexpr std::uint8_t kSmcReadBytes = 5;

/// Results of calls are 0, or a code of the system. One thread at a time.
class SmcConnection {
 public:
  virtual ~SmcConnection() = default;

  /// Blocks until the controller has answered. Sets the whole output unless it fails.
  virtual std::uint32_t exchange(std::uint32_t method, const SmcRecord& input, SmcRecord& output) = 0;

  /// The last call.
  virtual std::uint32_t close() = 0;
};

struct SmcSearch {
  std::uint32_t result = 0;
  /// The first one's name; empty if none was found.
  std::string service;
};

struct SmcOpening {
  std::uint32_t result = 0;
  /// Null unless the result is 0.
  std::unique_ptr<SmcConnection> connection;
};

class SmcService {
 public:
  virtual ~SmcService() = default;

  virtual SmcSearch find(std::string_view serviceClass) = 0;

  /// Opens the service that was found.
  virtual SmcOpening open(const std::string& service) = 0;
};

}  // namespace quorlin
