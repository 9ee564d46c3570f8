/// Preloaded into collectd for the benchmark: reports sysfs as the file system at /sys, which its sensors
/// library insists on, so that it reads the described machine.
#include <cstring>

#include <dlfcn.h>
#include <linux/magic.h>
#include <sys/vfs.h>

extern "C" int statfs(const char* path, struct statfs* result) noexcept {
  using Statfs = int (*)(const char*, struct statfs*);
  static const auto real = reinterpret_cast<Statfs>(dlsym(RTLD_NEXT, "statfs"));
  const int status = real(path, result);
  if (status == 0 && std::strcmp(path, "/sys") == 0) result->f_type = SYSFS_MAGIC;
  return status;
}
