/// The machine and the system that the program runs on.
#pragma once

#include <optional>
#include <string>

namespace quorlin {

struct SystemVersion {
  int major = 0;
  int minor = 0;

  constexpr bool isAtLeast(const SystemVersion& other) const {
    return major != other.major ? major > other.major : minor >= other.minor;
  }
};

class System {
 public:
  virtual ~System() = default;

  /// Whether this build does the power work: charge hold and power metrics.
  virtual bool processorHasPowerWork() const = 0;

  virtual SystemVersion version() const = 0;

  /// The computer's name as its owner wrote it, in UTF-8. Read again at every call.
  virtual std::optional<std::string> localizedHostName() const = 0;
};

}  // namespace quorlin
