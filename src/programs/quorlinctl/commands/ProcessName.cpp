#include "programs/quorlinctl/commands/ProcessName.h"

#include "platform/linux/desktop/DesktopEntry.h"
#include "platform/linux/processes/ApplicationId.h"
#include "platform/posix/TextFile.h"

namespace quorlin {
namespace {

/// The kernel cuts the name in comm at 15 bytes; the program's file has the whole name. If the two differ,
/// the process has chosen its own name.
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
  const auto id = applicationIdOfControlGroups(readText((folder / "cgroup").string()).value_or(""));
  std::string name = id ? applicationName(*id).value_or("") : "";
  if (name.empty()) name = ownName(folder);
  return name.empty() ? "?" : name;
}

}  // namespace quorlin
