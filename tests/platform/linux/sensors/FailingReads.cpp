#include "platform/linux/sensors/FailingReads.h"

#include <cerrno>
#include <filesystem>

#include <dlfcn.h>
#include <unistd.h>

/// Stands before the C library's own in this program.
extern "C" ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
  using Pread = ssize_t (*)(int, void*, std::size_t, off_t);
  static const auto real = reinterpret_cast<Pread>(dlsym(RTLD_NEXT, "pread"));
  quorlin::FailingReads* const reads = quorlin::FailingReads::active;
  if (reads == nullptr) return real(descriptor, buffer, size, offset);
  std::error_code ignored;
  const std::string path =
      std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), ignored);
  ++reads->counts[path];
  const auto failure = reads->errors.find(path);
  if (failure == reads->errors.end()) return real(descriptor, buffer, size, offset);
  errno = failure->second;
  return -1;
}
