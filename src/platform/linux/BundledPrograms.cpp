#include "platform/linux/BundledPrograms.h"

#include <array>

#include <unistd.h>

namespace quorlin {

std::filesystem::path programFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : program.parent_path();
}

std::filesystem::path bundledProgram(std::string_view name, const std::filesystem::path& folder) {
  const std::array<std::filesystem::path, 2> places = {folder,
                                                       folder.parent_path() / "libexec/quorlin-sensors"};
  for (const std::filesystem::path& place : places) {
    std::error_code ignored;
    std::filesystem::path program = place / name;
    if (std::filesystem::is_regular_file(program, ignored) && access(program.c_str(), X_OK) == 0) {
      return program;
    }
  }
  return {};
}

}  // namespace quorlin
