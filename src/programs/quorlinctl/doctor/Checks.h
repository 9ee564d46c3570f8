/// What quorlinctl doctor looks at, one function per check.
#pragma once

#include "platform/linux/system/SystemRoots.h"
#include "programs/quorlinctl/services/Agent.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// Note is worth knowing but needs no repair.
enum class CheckState { Ok, Missing, Note };

struct Finding {
  CheckState state = CheckState::Ok;
  /// What is there, or what is wrong, in whole sentences.
  std::string text;
  /// What to do about it, in whole sentences; empty if there is nothing to do.
  std::string advice = {};

  /// Both, on one line.
  std::string line() const { return advice.empty() ? text : text + " " + advice; }
};

/// Whether the agent runs, and started late enough to have found the core helper where that is switched on.
/// Throws BusError.
Finding checkAgent(const Bus& sessionBus);

/// Whether a process started before a file came to its place; no if that is unknown.
bool beganBefore(pid_t process, const std::filesystem::path& file, const SystemRoots& roots);
inline constexpr const char* kInstalledHelper = "/usr/local/libexec/quorlin-core-helper";

/// Whether the settings switch something on: setting::kAutostart or setting::kCoreAutostart.
bool isSwitchedOn(const std::filesystem::path& settings, std::string_view setting);

/// Whether the settings can be read, and what they switch on.
Finding checkSettings(const std::filesystem::path& settings);

/// The hwmon chips and thermal zones that the agent finds.
Finding checkSensors(const SystemRoots& roots);

/// A virtual machine does not show the sensors of the hardware below it.
Finding checkMachine(const SystemRoots& roots);

/// Whether the processor's temperature driver is loaded.
Finding checkProcessorDriver(const SystemRoots& roots);

/// Whether the driver of an Intel Mac's System Management Controller is loaded; nothing on other computers.
std::optional<Finding> checkSmc(const SystemRoots& roots);

/// Whether SATA disks have their temperature driver.
Finding checkDriveDriver(const SystemRoots& roots);

/// The disks whose activity is counted.
Finding checkDiskCounters(const SystemRoots& roots);

/// Whether this session puts each application into a control group with its id.
Finding checkApplicationNames(const SystemRoots& roots);

/// Whether a program that the agent runs is in one of the folders, which are separated by colons.
Finding checkProgram(std::string_view program, std::string_view package, std::string_view folders);

/// The processor's name from the system's profiler.
Finding checkProcessor();

/// Whether the program that lists connections is installed beside this one and works.
Finding checkNetTop();

/// Whether the settings switch on the core helper, which holds the charge and reads the power.
Finding checkCoreSetting(const std::filesystem::path& settings);

/// Whether the root helper is installed and answers. Throws BusError.
Finding checkHelper(const Bus& systemBus);

/// Whether polkit, which decides what users may ask of the helper, is available. Throws BusError.
Finding checkPolkit(const Bus& systemBus);

/// Whether the processor has energy counters. Only root, and so the helper, can read them.
Finding checkEnergyCounters(const SystemRoots& roots);

/// The batteries that power the computer.
Finding checkBattery(const SystemRoots& roots);

/// Whether their drivers can stop charging.
Finding checkChargeControl(const SystemRoots& roots);

}  // namespace quorlin
