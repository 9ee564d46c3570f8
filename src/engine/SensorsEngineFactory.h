/// The sensors engine for Linux: temperatures and fans from sysfs, disk counters from procfs.
#pragma once

#include "core/SensorsEngine.h"
#include "platform/Log.h"

#include <filesystem>

namespace quorlin {

/// Where the kernel's file systems are mounted.
struct EngineRoots {
  std::filesystem::path sysfs = "/sys";
  std::filesystem::path procfs = "/proc";
};

/// The log outlives whatever the factory makes. Nothing is opened before the first reading.
SensorsEngineFactory makeLinuxSensorsEngine(EngineRoots roots, Log& log);

}  // namespace quorlin
