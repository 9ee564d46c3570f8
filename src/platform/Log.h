/// The program's lines in the system log.
#pragma once

#include <string_view>

namespace quorlin {

/// Any thread.
class Log {
 public:
  virtual ~Log() = default;

  /// Writes one line. Control characters in the text do not reach the log as they stand.
  virtual void line(std::string_view text) = 0;
};

}  // namespace quorlin
