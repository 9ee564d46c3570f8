#include "fakes/TemporaryFolder.h"
#include "probes/SystemInformation.h"
#include "programs/system_profiler/HardwareProfile.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

using namespace std::string_literals;

TEST(HardwareProfile, NamesTheProcessorOrTheChip) {
  const std::string x86 = "processor\t: 0\nvendor_id\t: GenuineIntel\nmodel\t\t: 142\nmodel name\t: ";
  const std::string arm =
      "processor\t: 0\nmodel name\t: ARMv7 Processor rev 3 (v7l)\nCPU implementer\t: 0x41\n";
  struct Case {
    std::string cpuinfo;
    std::string compatible;
    std::string key;
    std::string name;
  };
  for (const Case& with : {
           Case{x86 + "Exemplar(R) i5-8250U CPU  @ 1.60GHz   \n", "", "cpu_type",
                "Exemplar(R) i5-8250U CPU @ 1.60GHz"},
           Case{x86 + "A <&> B\n", "maker,board\0maker,chip\0"s, "cpu_type", "A <&> B"},
           Case{arm, "raspberrypi,4-model-b\0brcm,bcm2711\0"s, "chip_type", "brcm,bcm2711"},
           Case{"", "maker,board-v2\0maker,board\0other,chip\0other,family\0"s, "chip_type", "other,chip"},
           Case{"", "maker,board\0maker,chip\0maker,platform\0"s, "chip_type", "maker,chip"},
           Case{"", "linux,dummy-virt\0"s, "chip_type", "linux,dummy-virt"},
           Case{arm, "", "chip_type", "ARMv7 Processor rev 3 (v7l)"},
           Case{"processor\t: 0\nCPU implementer\t: 0x41\n", "", "", ""},
           Case{x86 + "bad \xFF\x01 bytes\n", "", "cpu_type", "bad \uFFFD bytes"},
       }) {
    const TemporaryFolder folder;
    folder.write("cpuinfo", with.cpuinfo);
    if (!with.compatible.empty()) folder.write("device-tree/compatible", with.compatible);
    const SystemRoots roots{.sysfs = {}, .procfs = folder.path()};
    const std::string profile = hardwareProfile(roots);
    EXPECT_EQ(processorNameFromProfile(Data(profile.begin(), profile.end())), with.name) << profile;
    EXPECT_EQ(profile.find("<key>" + with.key + "</key>") != std::string::npos, !with.name.empty())
        << profile;
  }
}

}  // namespace
}  // namespace quorlin
