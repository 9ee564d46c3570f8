#include "quorlinctl/ProcessName.h"

#include "platform/linux/ApplicationId.h"
#include "platform/linux/DesktopEntry.h"
#include "platform/posix/TextFile.h"

namespace quorlin {
namespace {

/// The kernel cuts a program's name at 15 bytes, for comm; its whole name is that of its file. A process that
/// has named itself otherwise, as threads do, is called as it wants.
std::string ownName(const std::filesystem::path& folder) {
  constexpr std::size_t longest = 15;
  constexpr std::string_view replaced = " (deleted)";
  const std::string name = readText((folder / "comm").string()).value_or("");
  std::error_code error;
  std::string program = std::filesystem::read_symlink(folder / "exe", error).filename().string();
  if (program.ends_with(replaced)) program.resize(program.size() - replaced.size());
  return name.size() == longest && program.starts_with(name) ? program : name;
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
