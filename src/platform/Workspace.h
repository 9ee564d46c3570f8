/// The applications of the user's session.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

struct RunningApplication {
  std::string bundleIdentifier;
};

/// Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// At least the applications of this family, in no particular order.
  virtual std::vector<RunningApplication> runningApplications() const = 0;

  /// Asks the application of that process to quit, or ends it. Returns whether the request was made; nothing
  /// if no application of this session has that process.
  virtual std::optional<bool> terminateApplication(std::int32_t processId) = 0;
  virtual std::optional<bool> forceTerminateApplication(std::int32_t processId) = 0;

  /// Makes an application the one that opens this user's URLs of a scheme.
  virtual void setDefaultHandlerForUrlScheme(std::string_view scheme, std::string_view bundleIdentifier) = 0;
};

}  // namespace quorlin
