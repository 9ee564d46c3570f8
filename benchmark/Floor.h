/// The least that the work could cost: descriptors kept open and read again, the process list compared with
/// the last one, messages written straight from arrays. It knows no hot plug, no failure and no sleeping
/// device.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace quorlin::bench {

class Floor {
 public:
  Floor(const std::vector<std::filesystem::path>& inputs, const std::filesystem::path& diskstats,
        const std::filesystem::path& procfs);
  ~Floor();
  Floor(const Floor&) = delete;
  Floor& operator=(const Floor&) = delete;

  void readSensors();
  void readDisks();
  void listProcesses();
  /// Three small signals, a full sample and a reduced one.
  void publish(const Bus& bus) const;

 private:
  void publishSample(const Bus& bus, const char* name, std::size_t count) const;

  std::vector<int> descriptors_;
  int diskstats_;
  int processes_;
  std::vector<std::string> ids_;
  std::vector<std::string> labels_;
  std::vector<double> values_;
  std::vector<char> text_;
  std::vector<char> lastList_;
  std::vector<char> list_;
  std::vector<std::uint8_t> archive_;
  std::int64_t bytesRead_ = 0;
};

}  // namespace quorlin::bench
