/// The processes of the machine.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

namespace quorlin {

/// Main thread only.
class ProcessManager {
 public:
  /// Receives the application id of one process, or nothing where it belongs to no application. The view
  /// is valid during the call.
  using Visitor = std::function<void(std::optional<std::string_view> bundleIdentifier)>;

  virtual ~ProcessManager() = default;

  /// Visits every process whose information can be read, in the system's order.
  virtual void enumerateProcesses(const Visitor& visit) = 0;
};

}  // namespace quorlin
