/// Installs the root helper: the user, asked by polkit, lets it install itself.
#pragma once

#include "platform/RunLoop.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <unistd.h>

namespace quorlin {

/// The file name of the helper that comes with the running program.
inline constexpr std::string_view kHelperFileName = "quorlin-core-helper";

struct InstallerOutcome {
  enum class Kind {
    Installed,
    PermissionRefused,  // by the user
    NotAuthorized,      // by polkit
    NobodyToAsk,        // no authentication agent of polkit runs in the session
    NoPolkit,           // neither on the system bus nor to be started by it
    NoSystemBus,
    NoPkexec,
    NotStarted,
    Failed,
  };
  Kind kind;
  /// The exit status as a shell would report it; 0 only of an installed helper.
  int status;
  /// What pkexec and the installer wrote to their error stream, on one line; also of an installed helper.
  std::string complaint = {};

  /// Without a helper installed: why, and the command that mends it where there is one. No full stop.
  std::string reason(const std::filesystem::path& helper) const;
};

/// Runs "pkexec HELPER --install", as root without pkexec, and waits for its end. The user may take a while;
/// where nobody can be asked, the end comes at once. On a terminal pkexec asks there. Any thread.
InstallerOutcome runHelperInstaller(const std::filesystem::path& helper, bool isRoot = ::geteuid() == 0);

/// The same away from the terminal and without waiting. The completion runs on the main thread, once, after
/// this has returned. Main thread only.
void startHelperInstaller(const std::filesystem::path& helper, RunLoop& runLoop,
                          std::function<void(const InstallerOutcome&)> completion,
                          bool isRoot = ::geteuid() == 0);

}  // namespace quorlin
