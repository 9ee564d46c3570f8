/// The sensors engine for Linux: temperatures and fans from sysfs, disk counters from procfs.
#pragma once

#include "platform/Log.h"
#include "platform/SensorsEngine.h"
#include "platform/linux/system/SystemRoots.h"

namespace quorlin {

/// The log outlives whatever the factory makes. Nothing is opened before the first reading.
SensorsEngineFactory makeLinuxSensorsEngine(SystemRoots roots, Log& log);

}  // namespace quorlin
