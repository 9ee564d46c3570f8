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

/// Whether the settings switch something on: setting::kAutostart or setting::kCoreAutostart.
bool isSwitchedOn(const std::filesystem::path& settings, std::string_view setting);

/// The user's session. An agent may run with something off that the settings switch on. Throws BusError.
Finding checkAgent(const Bus& sessionBus);

/// The user's unit that starts the agent at login where nothing starts autostart entries.
inline constexpr const char* kLauncherUnit = "quorlin-sensors-launcher.service";

/// Who starts the agent at login besides a person.
struct LoginStarter {
  /// A desktop or systemd; empty if none is known.
  std::string starter = {};
  /// systemd, not for the autostart entry but by a unit of its own.
  bool isUnit = false;
  /// What the session calls itself.
  std::string desktop = {};
};

/// Throws BusError.
LoginStarter loginStarterOf(const Bus& sessionBus);

/// Whether the agent starts at login; something is missing only where that is wanted.
Finding autostartFinding(const std::optional<Trouble>& entryTrouble, const LoginStarter& session,
                         bool isWanted);
Finding checkAutostart(const Bus& sessionBus, bool isWanted);

Finding checkSettings(const std::filesystem::path& settings);
/// Whether this session puts each application into a control group with its id.
Finding checkApplicationNames(const SystemRoots& roots);

/// The sensors and disks that the agent finds, and the drivers of their temperatures.
Finding checkSensors(const SystemRoots& roots);
Finding checkProcessorDriver(const SystemRoots& roots);
/// SATA disks only.
Finding checkDriveDriver(const SystemRoots& roots);
Finding checkDiskCounters(const SystemRoots& roots);

/// The kind of machine. A virtual one does not show the sensors of the hardware below it.
Finding checkMachine(const SystemRoots& roots);
/// The processor's name from the system's profiler.
Finding checkProcessor();
/// Whether the driver of an Intel Mac's System Management Controller is loaded; nothing on other computers.
std::optional<Finding> checkSmc(const SystemRoots& roots);

/// Whether a program that the agent runs is in one of the folders, which are separated by colons.
Finding checkProgram(std::string_view program, std::string_view package, std::string_view folders);
/// Whether the program that lists connections is installed beside this one and works.
Finding checkNetTop();

/// The core helper, which holds the charge and reads the power, and polkit, which decides what users may ask
/// of it. Those that ask on the bus throw BusError.
Finding checkCoreSetting(const std::filesystem::path& settings);
Finding checkHelper(const Bus& systemBus);
Finding checkPolkit(const Bus& systemBus);

/// The kernel's support for power metrics and for holding the charge. Only root, and so the helper, can read
/// energy counters.
Finding checkEnergyCounters(const SystemRoots& roots);
Finding checkBattery(const SystemRoots& roots);
Finding checkChargeControl(const SystemRoots& roots);

}  // namespace quorlin
