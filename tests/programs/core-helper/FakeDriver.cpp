#include "programs/core-helper/FakeDriver.h"

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>
#include <unistd.h>

using quorlin::FakeDriver;

void FakeDriver::set(const std::string& path, const std::string& value) const {
  // The driver's own changes are not stores.
  FakeDriver* const paused = std::exchange(active, nullptr);
  std::filesystem::create_directories(std::filesystem::path(folder + path).parent_path());
  std::ofstream(folder + path) << value << '\n';
  active = paused;
}

/// Stands before the C library's own in this program.
extern "C" ssize_t write(int descriptor, const void* buffer, std::size_t size) {
  using Write = ssize_t (*)(int, const void*, std::size_t);
  static const auto real = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
  FakeDriver* const driver = FakeDriver::active;
  if (driver == nullptr) return real(descriptor, buffer, size);
  std::error_code error;
  std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
  if (!path.starts_with(driver->folder)) return real(descriptor, buffer, size);
  path.erase(0, driver->folder.size());
  std::string value(static_cast<const char*>(buffer), size);
  if (value.ends_with('\n')) value.pop_back();
  driver->writes.push_back(path + " " + value);
  const auto store = driver->stores.find(path);
  errno = store == driver->stores.end() ? (driver->set(path, value), 0) : store->second(value);
  return errno == 0 ? static_cast<ssize_t>(size) : -1;
}
