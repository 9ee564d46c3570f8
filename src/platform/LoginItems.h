/// Programs that the system starts when the user logs in.
#pragma once

#include <string_view>

namespace quorlin {

/// Any thread.
class LoginItems {
 public:
  virtual ~LoginItems() = default;

  /// Has the system start the login item of that identifier, which comes with the agent, at every login of
  /// this user, or no longer. False if that could not be arranged; then nothing has changed.
  virtual bool setEnabled(std::string_view identifier, bool enabled) = 0;
};

}  // namespace quorlin
