/// Recorded work that the user can have done by name.
#pragma once

#include <string>

namespace quorlin {

/// Main thread only.
class WorkflowEngine {
 public:
  virtual ~WorkflowEngine() = default;

  /// Runs the workflow in that file once, without input, and waits for its end. Whether it could be run is
  /// known to the log alone.
  virtual void runWorkflow(const std::string& path) = 0;
};

}  // namespace quorlin
