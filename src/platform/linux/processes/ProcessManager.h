/// The processes in /proc, and the applications that run in another's process.
#pragma once

#include "platform/ProcessManager.h"
#include "platform/posix/FileDescriptor.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace quorlin {

/// A process that was already there costs one comparison: /proc gives each of its folders an inode
/// number that lasts as long as the process and is not used again. Its unit can change just after its start,
/// when its launcher moves it, so its first two listings look at it.
class ProcfsProcessManager final : public ProcessManager {
 public:
  /// Application names are those owned on the session bus; the set outlives this object.
  ProcfsProcessManager(std::filesystem::path procfsRoot,
                       const std::set<std::string, std::less<>>& applicationNames);

  /// Visits the processes by rising process id, then one record for each application that is on the bus and
  /// has no process of its own, such as a widget in the desktop's shell.
  void enumerateProcesses(const Visitor& visit) override;

 private:
  /// Small, since there may be thousands, of which few belong to an application.
  struct Process {
    std::uint64_t inode = 0;
    std::int32_t id = 0;
    std::uint8_t looks = 0;
    bool hasApplication = false;
  };

  void listProcesses();
  void lookUp();
  bool readApplication(Process& process);
  void forget(const Process& process);

  std::filesystem::path procfsRoot_;
  const std::set<std::string, std::less<>>& applicationNames_;
  FileDescriptor directory_;
  std::vector<char> entries_;
  std::vector<Process> listed_;
  std::vector<Process> known_;
  std::map<std::int32_t, std::string> applications_;  // by process id
};

}  // namespace quorlin
