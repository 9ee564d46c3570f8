/// Where the kernel's file systems are mounted, or a described machine's stand.
#pragma once

#include <filesystem>

namespace quorlin {

struct SystemRoots {
  std::filesystem::path sysfs = "/sys";
  std::filesystem::path procfs = "/proc";
};

/// $QUORLIN_SYSFS_ROOT and $QUORLIN_PROCFS_ROOT take the place of the usual ones.
SystemRoots systemRootsFromEnvironment();

}  // namespace quorlin
