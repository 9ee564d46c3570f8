#include "platform/linux/helper/HelperInstaller.h"

#include "platform/linux/processes/Spawn.h"

#include <optional>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace quorlin {
namespace {

/// Exit statuses of pkexec(1), the second also of a shell that starts nothing.
constexpr int kRefusedByUser = 126;
constexpr int kNotAuthorized = 127;
constexpr int kEndedBySignal = 128;

}  // namespace

InstallerOutcome runHelperInstaller(const std::filesystem::path& helper, bool isRoot) {
  using enum InstallerOutcome::Kind;
  std::vector<std::string> arguments = {"--install"};
  if (!isRoot) arguments.insert(arguments.begin(), helper.native());
  const Result<pid_t> child = spawn(isRoot ? helper.native() : "pkexec", arguments, {});
  const std::optional<int> end = child ? waitForEnd(*child) : std::nullopt;
  if (!end) return {NotStarted, kNotAuthorized};
  if (!WIFEXITED(*end)) return {Failed, kEndedBySignal + WTERMSIG(*end)};
  const int status = WEXITSTATUS(*end);
  if (status == 0) return {Installed, status};
  if (!isRoot && status == kRefusedByUser) return {PermissionRefused, status};
  if (!isRoot && status == kNotAuthorized) return {NotAuthorized, status};
  return {Failed, status};
}

}  // namespace quorlin
