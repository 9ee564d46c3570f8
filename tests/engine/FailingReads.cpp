#include "engine/FailingReads.h"

#include <array>
#include <cerrno>

#include <dlfcn.h>
#include <unistd.h>

namespace quorlin {
namespace {

FailingReads* active = nullptr;

std::string pathOf(int descriptor) {
  std::array<char, 4096> path;
  const std::string entry = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t length = readlink(entry.c_str(), path.data(), path.size());
  return length < 0 ? std::string() : std::string(path.data(), static_cast<std::size_t>(length));
}

}  // namespace

FailingReads::FailingReads() { active = this; }
FailingReads::~FailingReads() { active = nullptr; }

}  // namespace quorlin

/// Stands before the C library's own in this program.
extern "C" ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
  using Pread = ssize_t (*)(int, void*, std::size_t, off_t);
  static const auto real = reinterpret_cast<Pread>(dlsym(RTLD_NEXT, "pread"));
  if (quorlin::active != nullptr) {
    const std::string path = quorlin::pathOf(descriptor);
    ++quorlin::active->counts[path];
    if (const auto failure = quorlin::active->errors.find(path); failure != quorlin::active->errors.end()) {
      errno = failure->second;
      return -1;
    }
  }
  return real(descriptor, buffer, size, offset);
}
