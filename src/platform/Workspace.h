/// The applications of the user's session.
#pragma once

#include <string>
#include <vector>

namespace quorlin {

struct RunningApplication {
  std::string bundleIdentifier;
};

/// Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Those that this family of programs may have to do with, at the least; in no particular order.
  virtual std::vector<RunningApplication> runningApplications() const = 0;
};

}  // namespace quorlin
