#include "platform/linux/HelperInstaller.h"

#include "platform/linux/Spawn.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace quorlin {
namespace {

constexpr const char* kFileName = "quorlin-core-helper";
constexpr int kNotStarted = 127;
constexpr int kEndedBySignal = 128;

}  // namespace

std::filesystem::path bundledHelper() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : bundledHelper(program.parent_path());
}

std::filesystem::path bundledHelper(const std::filesystem::path& programFolder) {
  const std::array<std::filesystem::path, 2> places = {
      programFolder, programFolder.parent_path() / "libexec/quorlin-sensors"};
  for (const std::filesystem::path& place : places) {
    std::error_code ignored;
    std::filesystem::path helper = place / kFileName;
    if (std::filesystem::is_regular_file(helper, ignored) && access(helper.c_str(), X_OK) == 0) return helper;
  }
  return {};
}

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
