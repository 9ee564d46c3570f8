/// Reads the values of the sensors found.
#pragma once

#include "engine/DiskActivity.h"
#include "engine/SensorCatalogue.h"
#include "engine/SensorDiscovery.h"
#include "platform/Log.h"
#include "platform/posix/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorlin {

/// Degrees Celsius and revolutions a minute in the order of the catalogue; NaN where a sensor could not be
/// read.
struct SensorValues {
  std::vector<double> temperatures;
  std::vector<double> fans;
};

/// Keeps files of sensors open. Hardware that sleeps is left alone: its sensors are NaN. A sensor that goes
/// bad is reported once. Main thread only.
class SensorReader {
 public:
  /// Of a process's usual limit of 1024, since its children may use select().
  static constexpr std::size_t kMostOpenFiles = 508;

  explicit SensorReader(Log& log) : log_(log) {}

  void adopt(const std::vector<FoundChip>& chips, std::shared_ptr<const SensorCatalogue> catalogue);

  SensorValues read(std::chrono::nanoseconds now, const std::optional<std::vector<DiskCounters>>& disks);

  /// Whether the last reading met a device that has gone or was not complete, so that a new discovery is due.
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
  const Dictionary& labelsOf(SensorKind kind) const;

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
