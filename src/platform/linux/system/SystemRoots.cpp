#include "platform/linux/system/SystemRoots.h"

#include <cstdlib>

namespace quorlin {
namespace {

void replaceFromEnvironment(std::filesystem::path& root, const char* variable) {
  const char* const value = std::getenv(variable);
  if (value != nullptr && *value != '\0') root = value;
}

}  // namespace

SystemRoots systemRootsFromEnvironment() {
  SystemRoots roots;
  replaceFromEnvironment(roots.sysfs, "QUORLIN_SYSFS_ROOT");
  replaceFromEnvironment(roots.procfs, "QUORLIN_PROCFS_ROOT");
  return roots;
}

}  // namespace quorlin
