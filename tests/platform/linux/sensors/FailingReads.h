/// Errors that only a driver returns, for chosen files of a described machine.
#pragma once

#include <map>
#include <string>

namespace quorlin {

/// While it lives, pread() of a file counts, and fails where an error is set for the file. One at a time.
class FailingReads {
 public:
  FailingReads() { active = this; }
  FailingReads(const FailingReads&) = delete;
  FailingReads& operator=(const FailingReads&) = delete;
  ~FailingReads() { active = nullptr; }

  std::map<std::string, int> errors;
  std::map<std::string, int> counts;
  static inline FailingReads* active = nullptr;
};

}  // namespace quorlin
