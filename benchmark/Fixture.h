/// What the benchmark measures on: a machine of a given size, and processes that do nothing.
#pragma once

#include <filesystem>
#include <vector>

#include <sys/types.h>

namespace quorlin::bench {

/// A folder in memory, removed with its owner.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// Writes, below the folder, a sysfs of chips with eight temperatures each and a diskstats of so many disks.
/// Returns the files that hold the temperatures.
std::vector<std::filesystem::path> writeMachine(const std::filesystem::path& folder, int inputs, int disks);

/// Processes that wait for nothing; they end with their owner.
class IdleProcesses {
 public:
  explicit IdleProcesses(int count);
  ~IdleProcesses();
  IdleProcesses(const IdleProcesses&) = delete;
  IdleProcesses& operator=(const IdleProcesses&) = delete;

 private:
  std::vector<pid_t> processes_;
};

}  // namespace quorlin::bench
