/// Reads the values of the sensors that discovery has found.
#pragma once

#include "platform/Log.h"
#include "platform/linux/sensors/DiskActivity.h"
#include "platform/linux/sensors/SensorCatalogue.h"
#include "platform/linux/sensors/SensorDiscovery.h"
#include "platform/posix/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorlin {

/// In the units of their kinds and the order of the catalogue; NaN for a sensor that could not be read.
using SensorValues = PerKind<std::vector<double>>;

/// Keeps files of sensors open. Sleeping hardware is not read: its sensors are NaN. A failing sensor is
/// reported once. Main thread only.
class SensorReader {
 public:
  /// About half of a process's usual limit of 1024, since its children may use select().
  static constexpr std::size_t kMostOpenFiles = 508;

  explicit SensorReader(Log& log) : log_(log) {}

  void adopt(const std::vector<FoundChip>& chips, std::shared_ptr<const SensorCatalogue> catalogue);

  SensorValues read(std::chrono::nanoseconds now, const std::optional<std::vector<DiskCounters>>& disks);

  /// Whether the last reading met a device that has gone or is incomplete, so that a new discovery is due.
  bool foundStale() const { return foundStale_; }

 private:
  struct File {
    std::string name;
    FileDescriptor descriptor;
  };
  struct Channel {
    SensorKind kind;
    /// Among the catalogue's sensors of the kind.
    std::size_t index;
    File input;
    File fault;
    bool hasBeenRead = false;
    bool isReported = false;
    std::uint8_t goodReadings = 0;
  };
  struct Chip {
    std::string directory;
    File runtimeStatus;
    std::string rotatingDisk;
    bool awaitsDisk = false;
    std::vector<Channel> channels;
  };
  /// The beginning of a file's contents, or an error.
  struct Bytes;

  bool isAsleep(Chip& chip, std::chrono::nanoseconds now,
                const std::optional<std::vector<DiskCounters>>& disks);
  double readChannel(const Chip& chip, Channel& channel);
  void readFile(const std::string& directory, File& file, Bytes& bytes);
  double failed(Channel& channel, const Bytes& bytes);
  void report(Channel& channel, const std::string& trouble);

  Log& log_;
  std::vector<Chip> chips_;
  std::shared_ptr<const SensorCatalogue> catalogue_;
  RecentDiskUse diskUse_;
  std::string path_;
  std::size_t openFiles_ = 0;
  bool foundStale_ = false;
  bool reportedShortage_ = false;
};

}  // namespace quorlin
