/// The hardware report of the system's profiler.
#pragma once

#include "platform/linux/system/SystemRoots.h"

#include <string>

namespace quorlin {

/// "cpu_type" where /proc/cpuinfo names the processor's model, as on x86; "chip_type" where the device tree
/// or cpuinfo names the chip, as on Arm. Empty where neither does.
struct Processor {
  std::string key;
  std::string name;
};
Processor processorOf(const SystemRoots& roots);

/// A property list in XML: an array of one dictionary, whose "_items" hold the one machine. Unknown values
/// are left out.
std::string hardwareProfile(const SystemRoots& roots);

}  // namespace quorlin
