#include "quorlinctl/ProcessName.h"

#include "platform/linux/ApplicationId.h"
#include "platform/linux/DesktopEntry.h"
#include "platform/posix/TextFile.h"

namespace quorlin {
namespace {

/// Longer than comm, which the kernel cuts at 15 bytes; where that is no beginning of it, the process has
/// named itself, as threads and interpreters do.
std::string ownName(const std::filesystem::path& folder) {
  const std::string name = readText((folder / "comm").string()).value_or("");
  std::error_code error;
  const std::string program = std::filesystem::read_symlink(folder / "exe", error).filename().string();
  return !name.empty() && program.starts_with(name) ? program : name;
}

}  // namespace

std::string nameOfProcess(std::int32_t process, const SystemRoots& roots) {
  const std::filesystem::path folder = roots.procfs / std::to_string(process);
  const std::optional<std::string> groups = readText((folder / "cgroup").string());
  const std::optional<std::string> id = groups ? applicationIdOfControlGroups(*groups) : std::nullopt;
  std::string name = id ? applicationName(*id).value_or("") : "";
  if (name.empty()) name = ownName(folder);
  return name.empty() ? "?" : name;
}

}  // namespace quorlin
