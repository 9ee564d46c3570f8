/// Facts about the drivers of sensors, a row each.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace quorlin {

/// In the order in which a person looks at them.
enum class PartOfMachine { Processor, Graphics, Memory, Storage, Network, Battery, Board };

struct Driver {
  /// The name of its chips, or the type of its thermal zones. Chips of network drivers append their device.
  std::string_view name;
  PartOfMachine part = PartOfMachine::Board;
  /// The vendors of the processors that it measures, as /proc/cpuinfo names them.
  std::array<std::string_view, 2> processorVendors{};
  /// The type of the thermal zone that repeats its temperature.
  std::string_view coveredZone{};
  /// The reduced set takes the temperatures whose labels begin with the first of these that occurs, or else
  /// the chip's first.
  std::array<std::string_view, 2> preferredLabels{};
  /// Its labels say little without the chip: an edge, a composite of what?
  bool labelsNameParts = false;
  /// Its chips report energy or power.
  bool reportsEnergy = false;
  /// A reading may keep a disk from spinning down (Documentation/hwmon/drivetemp.rst).
  bool keepsDiskAwake = false;
  /// The zone exists for its policies and reports a constant.
  bool isConstant = false;
};

inline constexpr std::array kDrivers = {
    Driver{.name = "coretemp",
           .part = PartOfMachine::Processor,
           .processorVendors = {"GenuineIntel"},
           .coveredZone = "x86_pkg_temp",
           .preferredLabels = {"Package id "}},
    Driver{.name = "k10temp",
           .part = PartOfMachine::Processor,
           .processorVendors = {"AuthenticAMD", "HygonGenuine"},
           .preferredLabels = {"Tdie", "Tctl"}},
    Driver{.name = "zenpower", .part = PartOfMachine::Processor, .preferredLabels = {"Tdie", "Tctl"}},
    Driver{.name = "cpu_thermal", .part = PartOfMachine::Processor},
    Driver{.name = "cpu-thermal", .part = PartOfMachine::Processor},
    Driver{.name = "x86_pkg_temp", .part = PartOfMachine::Processor},
    Driver{.name = "amdgpu",
           .part = PartOfMachine::Graphics,
           .preferredLabels = {"edge"},
           .labelsNameParts = true,
           .reportsEnergy = true},
    Driver{.name = "i915", .part = PartOfMachine::Graphics, .labelsNameParts = true, .reportsEnergy = true},
    Driver{
        .name = "nouveau", .part = PartOfMachine::Graphics, .labelsNameParts = true, .reportsEnergy = true},
    Driver{.name = "nvidia", .part = PartOfMachine::Graphics, .labelsNameParts = true},
    Driver{.name = "radeon", .part = PartOfMachine::Graphics, .labelsNameParts = true},
    Driver{.name = "xe", .part = PartOfMachine::Graphics, .labelsNameParts = true, .reportsEnergy = true},
    Driver{.name = "jc42", .part = PartOfMachine::Memory},
    Driver{.name = "spd5118", .part = PartOfMachine::Memory},
    Driver{.name = "drivetemp", .part = PartOfMachine::Storage, .keepsDiskAwake = true},
    Driver{.name = "nvme",
           .part = PartOfMachine::Storage,
           .preferredLabels = {"Composite"},
           .labelsNameParts = true},
    Driver{.name = "iwlwifi", .part = PartOfMachine::Network},
    Driver{.name = "mt79", .part = PartOfMachine::Network},
    Driver{.name = "r8169", .part = PartOfMachine::Network},
    Driver{.name = "acpitz", .part = PartOfMachine::Board},
    Driver{.name = "INT3400 Thermal", .part = PartOfMachine::Board, .isConstant = true},
};

/// Whether hardware with that text in its power/runtime_status sleeps or is about to wake; a reading would
/// wake it (Documentation/power/runtime_pm.rst).
constexpr bool isAsleep(std::string_view runtimeStatus) {
  return runtimeStatus.starts_with("suspend") || runtimeStatus.starts_with("resuming");
}

/// Null for an unknown name.
constexpr const Driver* driverOf(std::string_view name) {
  const auto* const found = std::ranges::find(kDrivers, name, &Driver::name);
  return found == kDrivers.end() ? nullptr : found;
}

/// The name of the driver for a vendor's processors; empty when unknown.
constexpr std::string_view processorDriverOf(std::string_view vendor) {
  const auto* const found = std::ranges::find_if(kDrivers, [vendor](const Driver& driver) {
    return !vendor.empty() &&
           std::ranges::find(driver.processorVendors, vendor) != driver.processorVendors.end();
  });
  return found == kDrivers.end() ? std::string_view() : found->name;
}

}  // namespace quorlin
