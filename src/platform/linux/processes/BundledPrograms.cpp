#include "platform/linux/processes/BundledPrograms.h"

#include <unistd.h>

namespace quorlin {

std::filesystem::path bundleFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : (program.parent_path() / QUORLIN_BUNDLE).lexically_normal();
}

Result<std::filesystem::path> bundledProgram(std::string_view name, const std::filesystem::path& folder) {
  std::error_code ignored;
  std::filesystem::path program = folder / name;
  const bool isProgram =
      std::filesystem::is_regular_file(program, ignored) && access(program.c_str(), X_OK) == 0;
  if (!isProgram) return Trouble{.what = "{} is not an executable program", .where = program};
  return program;
}

}  // namespace quorlin
