#include "programs/system_profiler/HardwareProfile.h"

#include "platform/linux/system/CpuInfo.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Owned.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <vector>

#include <plist/plist.h>

namespace quorlin {
namespace {

/// Vendors pad names with blanks.
std::string withSingleBlanks(const std::string& text) {
  std::istringstream words(displayText(text));
  std::string result;
  for (std::string word; words >> word;) result += (result.empty() ? "" : " ") + word;
  return result;
}

/// The chip in a device tree's list of compatible names, which goes from the board to its chip, such as
/// "raspberrypi,4-model-b", "brcm,bcm2711", each ended by a zero (devicetree.org, 2.3.1). The chip is the
/// first of another vendor than the board's, or the second where all are of one.
std::string chipOf(const std::string& compatible) {
  std::istringstream list(compatible);
  std::vector<std::string> names;
  for (std::string name; std::getline(list, name, '\0');) names.push_back(name);
  if (names.empty()) return {};
  const auto vendorOf = [](const std::string& name) { return name.substr(0, name.find(',')); };
  const auto other = std::ranges::find_if(
      names, [&](const std::string& name) { return vendorOf(name) != vendorOf(names.front()); });
  return other != names.end() ? *other : names[names.size() > 1 ? 1 : 0];
}

void addText(plist_t dictionary, const std::string& key, const std::string& text) {
  if (!text.empty()) plist_dict_set_item(dictionary, key.c_str(), plist_new_string(text.c_str()));
}

}  // namespace

Processor processorOf(const SystemRoots& roots) {
  const std::string model = withSingleBlanks(processorField(roots.procfs, "model name"));
  // Arm's cpuinfo has no vendor_id; its model name is that of the cores.
  if (!model.empty() && !processorField(roots.procfs, "vendor_id").empty()) return {"cpu_type", model};
  const std::string tree = readText((roots.procfs / "device-tree/compatible").string()).value_or("");
  const std::string chip = withSingleBlanks(chipOf(tree));
  return {"chip_type", chip.empty() ? model : chip};
}

std::string hardwareProfile(const SystemRoots& roots) {
  const Owned<void, plist_free> profile(plist_new_array());
  plist_t hardware = plist_new_dict();
  plist_array_append_item(profile.get(), hardware);
  addText(hardware, "_dataType", "SPHardwareDataType");
  plist_t machines = plist_new_array();
  plist_dict_set_item(hardware, "_items", machines);
  plist_t machine = plist_new_dict();
  plist_array_append_item(machines, machine);
  addText(machine, "_name", "hardware_overview");
  const Processor processor = processorOf(roots);
  addText(machine, processor.key, processor.name);

  char* xml = nullptr;
  std::uint32_t size = 0;
  plist_to_xml(profile.get(), &xml, &size);
  std::string text(xml, size);
  plist_to_xml_free(xml);
  return text;
}

}  // namespace quorlin
