/// Log lines on the error stream, which a session's service manager takes into the journal.
#pragma once

#include "platform/Log.h"

#include <string>

namespace quorlin {

class StreamLog final : public Log {
 public:
  /// The program's name begins every line.
  explicit StreamLog(std::string program) : program_(std::move(program)) {}

  void line(std::string_view text) override;

 private:
  std::string program_;
};

}  // namespace quorlin
