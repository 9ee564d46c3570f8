#include "programs/quorlinctl/view/Sample.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

TEST(Sample, GroupsTemperaturesByTheDriversAndWordsOfTheirIdsAndLabels) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"platform/coretemp.0/temp1", "Package id 0", "Processor"},
      {"pci0000:00/0000:00:18.3/temp1", "Tctl", "Processor"},
      {"pci0000:00/0000:00:18.3/temp1", "zenpower Temp 1", "Processor"},
      {"thermal/cpu-thermal", "cpu-thermal", "Processor"},
      {"thermal/x86_pkg_temp", "x86_pkg_temp", "Processor"},
      {"platform/thinkpad_hwmon/temp1", "CPU", "Processor"},
      {"platform/thinkpad_hwmon/temp2", "GPU", "Graphics"},
      {"pci0000:00/0000:00:01.0/temp1", "junction (amdgpu)", "Graphics"},
      {"pci0000:00/0000:00:02.0/temp2", "pkg (xe)", "Graphics"},
      {"pci0000:00/0000:00:02.0/temp1", "i915", "Graphics"},
      {"virtual/nvidia/temp1", "nvidia", "Graphics"},
      {"pci0000:00/0000:00:1f.4/0018/temp1", "jc42", "Memory"},
      {"pci0000:00/0000:00:1f.4/0050/temp1", "spd5118", "Memory"},
      {"platform/board/temp4", "DIMM A1", "Memory"},
      {"pci0000:00/0000:3d:00.0/nvme/temp1", "Composite (CPU Works SSD)", "Storage"},
      {"pci0000:00/0000:00:08.1/ata1/0:0:0/temp1", "Exemplar HDD 4TB", "Storage"},
      {"thermal/iwlwifi_1/temp1", "iwlwifi_1", "Network"},
      {"pci0000:00/0000:02:00.0/temp1", "r8169_0_200:00", "Network"},
      {"pci0000:00/0000:02:00.0/ieee80211/temp1", "mt7921_phy0", "Network"},
      {"pci0000:00/0000:02:00.0/temp1", "mt7921_phy0", "Network"},
      {"LNXSYSTM:00/PNP0C0A:00/power_supply/BAT0/temp1", "BAT0", "Battery"},
      {"thermal/acpitz/temp1", "acpitz", "System"},
      {"platform/board/temp1", "Exemplar", "System"},
  };
  for (const auto& [id, label, title] : cases) {
    const std::vector<ReadingGroup> groups = groupTemperatures({{id, label, 30}});
    ASSERT_EQ(groups.size(), 1U) << label;
    EXPECT_EQ(groups.front().title, title) << label;
  }
}

TEST(Sample, HasTheReadingsOfEveryKind) {
  Dictionary userInfo;
  for (const SensorKindRow& row : kSensorKinds) {
    userInfo.emplace_back(row.labelsKey, Dictionary{{"id", std::string(row.word)}});
    userInfo.emplace_back(row.valuesKey, Dictionary{{"id", row.most}});
  }
  const Sample sample = sampleOf(userInfo);
  for (const SensorKindRow& row : kSensorKinds) {
    const std::vector<Reading>& readings = sample.readings[row.kind];
    ASSERT_EQ(readings.size(), 1U) << row.attribute;
    EXPECT_EQ(readings.front().label, row.word);
    EXPECT_EQ(readings.front().value, static_cast<double>(row.most));
  }
}

TEST(Sample, OrdersGroupsByWhatAPersonLooksAtFirst) {
  std::vector<Reading> temperatures;
  for (const char* label : {"other", "BAT0", "iwlwifi", "nvme", "jc42", "amdgpu", "Core 1", "Core 0"}) {
    temperatures.push_back({"", label, 30});
  }
  std::string shown;
  for (const ReadingGroup& group : groupTemperatures(temperatures)) {
    shown += group.title + ":";
    for (const Reading& reading : group.readings) shown += " " + reading.label;
    shown += "\n";
  }
  EXPECT_EQ(shown,
            "Processor: Core 1 Core 0\nGraphics: amdgpu\nMemory: jc42\nStorage: nvme\nNetwork: iwlwifi\n"
            "Battery: BAT0\nSystem: other\n");
}

}  // namespace
}  // namespace quorlin
