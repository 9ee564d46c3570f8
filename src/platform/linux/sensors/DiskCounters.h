/// The kernel's counters of the machine's disks.
#pragma once

#include "platform/Log.h"
#include "platform/posix/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// Counts since the disk appeared. A sector is 512 bytes whatever the disk's own sectors are
/// (Documentation/admin-guide/iostats.rst).
struct DiskCounters {
  std::string name;
  std::uint64_t operations = 0;
  std::uint64_t sectorsRead = 0;
  std::uint64_t sectorsWritten = 0;
};

/// Reads the counters of whole disks that have hardware behind them, so that no byte counts twice: partitions
/// and the devices stacked on disks or on memory have none, and of a multipath disk's hidden paths the
/// kernel counts the visible head. Main thread only.
class DiskCounterReader {
 public:
  DiskCounterReader(const std::string& sysfsRoot, const std::string& procfsRoot, Log& log);

  /// In the kernel's order. Nothing, and one line in the log, when the file is missing or malformed.
  std::optional<std::vector<DiskCounters>> read();

 private:
  struct KnownDevice {
    std::string name;
    bool counted;
  };

  std::optional<std::string_view> readWholeFile();
  bool isCounted(std::size_t line, std::string_view name);
  bool hasHardware(std::string_view name) const;
  void report(std::string_view trouble);

  std::string blockDirectory_;
  std::string path_;
  Log& log_;
  FileDescriptor file_;
  std::string buffer_;
  std::vector<KnownDevice> known_;
  std::size_t lastCount_ = 0;
  bool reported_ = false;
};

}  // namespace quorlin
