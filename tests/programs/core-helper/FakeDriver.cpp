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

namespace {

/// The path below the driver's folder; empty for any other file.
std::string attributeOf(const FakeDriver& driver, int descriptor) {
  std::error_code error;
  std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
  return path.starts_with(driver.folder) ? path.substr(driver.folder.size()) : "";
}

}  // namespace

/// These stand before the C library's own in this program.
extern "C" ssize_t write(int descriptor, const void* buffer, std::size_t size) {
  using Write = ssize_t (*)(int, const void*, std::size_t);
  static const auto real = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
  FakeDriver* const driver = FakeDriver::active;
  const std::string path = driver == nullptr ? "" : attributeOf(*driver, descriptor);
  if (path.empty()) return real(descriptor, buffer, size);
  std::string value(static_cast<const char*>(buffer), size);
  if (value.ends_with('\n')) value.pop_back();
  driver->writes.push_back(path + " " + value);
  const auto store = driver->stores.find(path);
  errno = store == driver->stores.end() ? (driver->set(path, value), 0) : store->second(value);
  if (errno == 0) driver->unset.erase(path);
  return errno == 0 ? static_cast<ssize_t>(size) : -1;
}

extern "C" ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
  using Read = ssize_t (*)(int, void*, std::size_t, off_t);
  static const auto real = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "pread"));
  FakeDriver* const driver = FakeDriver::active;
  if (driver != nullptr && !driver->unset.empty() &&
      driver->unset.contains(attributeOf(*driver, descriptor))) {
    errno = ENODATA;
    return -1;
  }
  return real(descriptor, buffer, size, offset);
}
