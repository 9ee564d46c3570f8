/// What quorlinctl doctor looks at, one small function a check.
#pragma once

#include "platform/linux/SystemRoots.h"
#include "quorlinctl/Agent.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// Note is what a user may want to know and need not mend.
enum class CheckState { Ok, Missing, Note };

struct CheckResult {
  CheckState state = CheckState::Ok;
  std::string subject;
  /// What was looked at and what was there.
  std::string finding;
  /// What to do about it; empty when there is nothing to do.
  std::string advice;
};

/// Whether the agent runs, and began late enough to have found the core helper where that is switched on.
/// Throws BusError.
CheckResult checkAgent(const Bus& sessionBus);

/// Whether a process began before a file came to its place; no where that is not known.
bool beganBefore(pid_t process, const std::filesystem::path& file, const SystemRoots& roots);
inline constexpr const char* kInstalledHelper = "/usr/local/libexec/quorlin-core-helper";

/// Whether the settings switch on what one of them is for: setting::kAutostart or setting::kCoreAutostart.
bool isSwitchedOn(const std::filesystem::path& settings, std::string_view setting);

/// Whether the settings can be read, and what they switch on.
CheckResult checkSettings(const std::filesystem::path& file);

/// The hwmon chips and thermal zones that the agent finds.
CheckResult checkSensors(const SystemRoots& roots);

/// A virtual machine shows no sensors of the hardware below it.
CheckResult checkMachine(const SystemRoots& roots);

/// Whether the processor's temperature driver is there.
CheckResult checkProcessorDriver(const SystemRoots& roots);

/// Whether the driver of an Intel Mac's System Management Controller is there.
std::optional<CheckResult> checkSmc(const SystemRoots& roots);

/// Whether SATA disks have their temperature driver.
CheckResult checkDriveDriver(const SystemRoots& roots);

/// Which disks are counted.
CheckResult checkDiskCounters(const SystemRoots& roots);

/// Whether this session puts each application into a control group that bears its id.
CheckResult checkApplicationNames(const SystemRoots& roots);

/// Whether a program that the agent runs is in one of the folders, which are separated by colons.
CheckResult checkProgram(std::string_view program, std::string_view package, std::string_view folders);

/// The processor, as the system's profiler names it.
CheckResult checkProcessor();

/// Whether the program that lists connections came with this one and works.
CheckResult checkNetTop();

/// Whether the settings switch the core helper on, which holds the charge and reads the power.
CheckResult checkCoreSetting(const std::filesystem::path& settings);

/// Whether the root helper is installed and answers. Throws BusError.
CheckResult checkHelper(const Bus& systemBus);

/// Whether there is somebody who decides what users may ask of the helper. Throws BusError.
CheckResult checkPolkit(const Bus& systemBus);

/// Whether the processor's energy counters are there; only root can read them, which the helper is.
CheckResult checkEnergyCounters(const SystemRoots& roots);

/// The batteries that the computer runs on.
CheckResult checkBattery(const SystemRoots& roots);

/// Whether their drivers can be told to stop charging.
CheckResult checkChargeControl(const SystemRoots& roots);

}  // namespace quorlin
