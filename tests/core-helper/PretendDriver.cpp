#include "core-helper/PretendDriver.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

namespace quorlin {
namespace {

PretendDriver* active = nullptr;

}  // namespace

PretendDriver::PretendDriver(std::string folder) : folder_(std::move(folder) + "/") { active = this; }
PretendDriver::~PretendDriver() { active = nullptr; }

void PretendDriver::set(const std::string& path, const std::string& value) const {
  // What the driver does itself is no store.
  PretendDriver* const paused = std::exchange(active, nullptr);
  std::filesystem::create_directories(std::filesystem::path(folder_ + path).parent_path());
  std::ofstream(folder_ + path) << value << '\n';
  active = paused;
}

int PretendDriver::store(const std::string& path, const std::string& value) {
  writes.push_back(path + " " + value);
  if (const auto found = stores.find(path); found != stores.end()) return found->second(value);
  set(path, value);
  return 0;
}

}  // namespace quorlin

/// Stands before the C library's own in this program.
extern "C" ssize_t write(int descriptor, const void* buffer, std::size_t size) {
  using Write = ssize_t (*)(int, const void*, std::size_t);
  static const auto real = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
  if (quorlin::active == nullptr) return real(descriptor, buffer, size);
  std::error_code error;
  const std::string path =
      std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
  if (!path.starts_with(quorlin::active->folder())) return real(descriptor, buffer, size);
  std::string_view value(static_cast<const char*>(buffer), size);
  if (value.ends_with('\n')) value.remove_suffix(1);
  errno = quorlin::active->store(path.substr(quorlin::active->folder().size()), std::string(value));
  return errno == 0 ? static_cast<ssize_t>(size) : -1;
}
