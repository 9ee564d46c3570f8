#include "platform/linux/HelperInstaller.h"

#include "platform/linux/Spawn.h"

#include <optional>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace quorlin {
namespace {

constexpr int kNotStarted = 127;
constexpr int kEndedBySignal = 128;

}  // namespace

int runHelperInstaller(const std::filesystem::path& helper, bool isRoot) {
  std::vector<std::string> arguments = {"--install"};
  if (!isRoot) arguments.insert(arguments.begin(), helper.native());
  const std::optional<pid_t> child =
      spawn(isRoot ? helper.native() : "pkexec", arguments, {.output = {}, .folder = {}, .detached = false});
  const std::optional<int> status = child ? waitForEnd(*child) : std::nullopt;
  if (!status) return kNotStarted;
  return WIFEXITED(*status) ? WEXITSTATUS(*status) : kEndedBySignal + WTERMSIG(*status);
}

}  // namespace quorlin
