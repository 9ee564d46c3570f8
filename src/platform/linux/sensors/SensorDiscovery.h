/// Which sensors the machine has: hwmon chips, and the thermal zones that no chip covers.
///
/// Kernel facts: Documentation/hwmon/sysfs-interface.rst, Documentation/driver-api/thermal/sysfs-api.rst,
/// Documentation/power/runtime_pm.rst, Documentation/hwmon/drivetemp.rst.
#pragma once

#include "platform/linux/sensors/SensorKinds.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

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
  /// The beginning of its sensors' ids; the same at every start of the machine.
  std::string idPrefix;
  /// The driver's name for the chip; may be empty.
  std::string name;
  /// For display: a drive's model, the name, or the name of the device.
  std::string displayName;
  /// The file that says whether the hardware sleeps; empty when it never does.
  std::string runtimeStatus;
  /// The disk that a reading would keep spinning; empty for all other chips.
  std::string rotatingDisk;
  /// The drive's disk has not appeared yet, so it is unknown whether it rotates.
  bool awaitsDisk = false;
  /// By kind, then by number.
  std::vector<FoundChannel> channels;
};

struct Discovery {
  /// In an order that does not depend on the numbers of hwmon entries.
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
