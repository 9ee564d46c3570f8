/// Installs the root helper: the user, asked by polkit, lets it install itself.
#pragma once

#include <filesystem>
#include <string_view>

#include <unistd.h>

namespace quorlin {

/// The file name of the helper that comes with the running program.
inline constexpr std::string_view kHelperFileName = "quorlin-core-helper";

struct InstallerOutcome {
  enum class Kind { Installed, PermissionRefused, NotAuthorized, NotStarted, Failed };
  Kind kind;
  /// The exit status as a shell would report it; 0 only of an installed helper.
  int status;
};

/// Runs "pkexec HELPER --install", as root without pkexec, and waits for its end; the user may take a while.
/// PermissionRefused is the user's answer, NotAuthorized polkit's. Any thread.
InstallerOutcome runHelperInstaller(const std::filesystem::path& helper, bool isRoot = ::geteuid() == 0);

}  // namespace quorlin
