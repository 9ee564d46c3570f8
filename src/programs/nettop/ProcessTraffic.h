/// The bytes that a process has received and sent on the connections that it holds.
#pragma once

#include "programs/nettop/Connections.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace quorlin {

struct ProcessTraffic {
  int id = 0;
  std::string name;  // any bytes
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
};

/// The processes that hold the connections, by rising process id; the connections come by rising inode. A
/// connection of several processes counts for the one with the lowest id, most often the oldest. Processes
/// that end meanwhile or are not accessible are passed over; a lack of descriptors or memory is a trouble.
Result<std::vector<ProcessTraffic>> trafficByProcess(const std::filesystem::path& procfsRoot,
                                                     std::span<const Connection> connections);

}  // namespace quorlin
