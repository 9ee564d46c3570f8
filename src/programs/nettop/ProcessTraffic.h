/// What a process has received and sent on the connections that it holds.
#pragma once

#include "nettop/Connections.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace quorlin {

struct ProcessTraffic {
  int id = 0;
  std::string name;  // as the kernel has it, so any bytes
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
};

/// The processes that hold the connections, which come by rising inode, by rising process id. A connection
/// that several hold counts for the one with the lowest id, most often the oldest. Processes that end
/// meanwhile or may not be looked into are passed over. Throws std::system_error where processes cannot be
/// listed, or looked into for want of descriptors or memory.
std::vector<ProcessTraffic> trafficByProcess(const std::filesystem::path& procfsRoot,
                                             std::span<const Connection> connections);

}  // namespace quorlin
