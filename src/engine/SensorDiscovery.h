/// Which sensors the machine has: hwmon chips, and the thermal zones that no chip covers.
///
/// Kernel facts: Documentation/hwmon/sysfs-interface.rst, Documentation/driver-api/thermal/sysfs-api.rst,
/// Documentation/power/runtime_pm.rst, Documentation/hwmon/drivetemp.rst.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

enum class SensorKind { Temperature, Fan };

struct FoundChannel {
  SensorKind kind = SensorKind::Temperature;
  /// The number in the attribute's name; nothing for a thermal zone, which has one reading.
  std::optional<unsigned> number;
  /// The driver's label, fit for display; may be empty.
  std::string label;
  bool hasFault = false;

  /// The file of an attribute of this channel: temp1_input, temp1_fault; temp for a thermal zone.
  std::string attribute(std::string_view suffix) const;
};

struct FoundChip {
  /// Where the attributes are, with a slash at the end.
  std::string directory;
  /// What the ids of its sensors begin with; the same at every start of the machine.
  std::string idPrefix;
  /// The driver's name for the chip; may be empty.
  std::string name;
  /// What a person calls it: a drive's model, the name, or that of the device.
  std::string displayName;
  /// The file that tells whether the hardware sleeps; empty when it never does.
  std::string runtimeStatus;
  /// The disk that a reading would keep spinning; empty for everything else.
  std::string rotatingDisk;
  /// The drive's disk has not appeared yet, so nobody knows whether it rotates.
  bool awaitsDisk = false;
  /// Temperatures, then fans, by number.
  std::vector<FoundChannel> channels;
};

struct Discovery {
  /// In an order that the numbers of hwmon entries have no part in.
  std::vector<FoundChip> chips;
  /// False when the process had no descriptor free, so that chips may be missing.
  bool complete = true;
};

/// Names, labels and links only: no sensor is read.
Discovery discoverSensors(const std::string& sysfsRoot);

/// A device's path below the devices of sysfs without what the kernel numbers in the order of discovery:
/// drives, SCSI hosts, I2C adapters, radios and HID instances.
std::string withoutEnumeration(std::string_view devicePath);

}  // namespace quorlin
