#include "platform/linux/sensors/Drivers.h"
#include "platform/linux/sensors/SensorCatalogue.h"

#include <sstream>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAreArray;

TEST(DevicePath, LosesWhatTheKernelNumbersAsItFindsIt) {
  const std::pair<const char*, const char*> cases[] = {
      {"platform/coretemp.0", "platform/coretemp.0"},
      {"pci0000:00/0000:00:1d.0/0000:3d:00.0/nvme/nvme12", "pci0000:00/0000:00:1d.0/0000:3d:00.0/nvme"},
      {"pci0000:00/0000:00:17.0/ata3/host2/target2:0:1/2:0:1:0", "pci0000:00/0000:00:17.0/ata3/0:1:0"},
      {"pci0000:00/0000:00:1f.4/i2c-0/0-0018", "pci0000:00/0000:00:1f.4/0018"},
      {"pci0000:00/0000:00:14.3/ieee80211/phy0", "pci0000:00/0000:00:14.3/ieee80211"},
      {"pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/0003:1E71:2007.0003",
       "pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/0003:1E71:2007"},
      {"LNXSYSTM:00/PNP0C0A:00/power_supply/BAT0", "LNXSYSTM:00/PNP0C0A:00/power_supply/BAT0"},
  };
  for (const auto& [path, stable] : cases) EXPECT_EQ(withoutEnumeration(path), stable);
}

/// "chip: label, label; chip: fan". A channel is a temperature unless it is "fan"; "-" has no label.
std::vector<FoundChip> chipsFrom(const std::string& text) {
  std::vector<FoundChip> chips;
  std::istringstream all(text);
  for (std::string one; std::getline(all, one, ';');) {
    FoundChip& chip = chips.emplace_back();
    chip.name = chip.displayName = one.substr(0, one.find(": "));
    chip.idPrefix = chip.name;
    std::istringstream channels(one.substr(one.find(": ") + 2));
    for (std::string label; std::getline(channels, label, ',');) {
      FoundChannel& channel = chip.channels.emplace_back();
      channel.kind = label == "fan" ? SensorKind::Fan : SensorKind::Temperature;
      channel.number = static_cast<unsigned>(chip.channels.size());
      if (label != "-") channel.label = label;
    }
  }
  return chips;
}

TEST(ReducedSet, IsWhatAPersonLooksAtFirst) {
  const std::pair<const char*, std::vector<std::size_t>> cases[] = {
      {"", {}},
      {"thinkpad: fan", {}},
      {"it87: fan,-,-", {0}},
      {"acpitz: -;nct6798: SYSTIN", {0}},
      {"nct6798: SYSTIN;acpitz: -", {1}},
      {"acpitz: -;coretemp: Core 0,Package id 0,Core 1", {2}},
      {"acpitz: -;coretemp: Core 0,Core 1", {1}},
      {"coretemp: Package id 0,Core 0;coretemp: Package id 1", {0, 2}},
      {"k10temp: Tctl,Tccd1", {0}},
      {"k10temp: Tctl,Tdie", {1}},
      {"zenpower: Tdie,Tctl", {0}},
      {"cpu_thermal: -;acpitz: -", {0}},
      {"acpitz: -;x86_pkg_temp: -", {1}},
      {"nvme: Sensor 1,Composite;drivetemp: -;amdgpu: junction,edge;k10temp: Tctl", {5, 4, 1, 2}},
      {"nouveau: -,-;nvme: Sensor 1,Sensor 2", {0, 2}},
      {"drivetemp: -;drivetemp: -;drivetemp: -;drivetemp: -;drivetemp: -;drivetemp: -;k10temp: Tctl",
       {6, 0, 1, 2, 3, 4}},
      {"acpitz: -;nvme: Composite", {0, 1}},
      {"jc42: -;nvidia: -;iwlwifi: -;xe: pkg,vram", {1, 3}},
  };
  for (const auto& [chips, chosen] : cases)
    EXPECT_THAT(reducedSetOf(chipsFrom(chips)), ElementsAreArray(chosen)) << chips;
}

TEST(Drivers, AreFoundByTheirNamesAndByTheProcessorsVendor) {
  const std::pair<const char*, const char*> processors[] = {{"GenuineIntel", "coretemp"},
                                                            {"AuthenticAMD", "k10temp"},
                                                            {"HygonGenuine", "k10temp"},
                                                            {"ARM", ""},
                                                            {"", ""}};
  for (const auto& [vendor, driver] : processors) EXPECT_EQ(processorDriverOf(vendor), driver) << vendor;
  for (const Driver& driver : kDrivers) EXPECT_EQ(driverOf(driver.name), &driver) << driver.name;
  for (const char* unknown : {"", "nct6798", "nvm", "nvme0"})
    EXPECT_EQ(driverOf(unknown), nullptr) << unknown;
}

}  // namespace
}  // namespace quorlin
