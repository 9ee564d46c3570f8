#include "platform/linux/sensors/SensorDiscovery.h"

#include "platform/linux/sensors/Drivers.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

namespace quorlin {
namespace {

/// Looks into one sysfs tree, and notices when the process runs out of descriptors.
class Tree {
 public:
  explicit Tree(const std::string& root)
      : root_(root), devices_(realPath(root).value_or(root) + "/devices/") {}

  std::vector<std::string> names(const std::string& directory) {
    return noted(namesIn(directory)).value_or({});
  }

  std::string text(const std::string& path) { return noted(readText(path)).value_or(""); }

  /// Where a link leads below the tree's devices; empty where it does not.
  std::string belowDevices(const std::string& link) const {
    const std::string real = realPath(link).value_or("");
    return real.starts_with(devices_) ? real.substr(devices_.size()) : std::string();
  }

  const std::string& root() const { return root_; }
  const std::string& devices() const { return devices_; }
  bool ranOut() const { return ranOut_; }

 private:
  template <typename Found>
  Result<Found> noted(Result<Found> found) {
    if (!found) ranOut_ = ranOut_ || found.error().error == EMFILE || found.error().error == ENFILE;
    return found;
  }

  std::string root_;
  std::string devices_;
  bool ranOut_ = false;
};

std::string parentOf(const std::string& path) {
  return path.substr(0, std::min(path.rfind('/'), path.size()));
}

std::string lastComponent(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// The number in prefix<number>suffix.
std::optional<unsigned> numberIn(std::string_view name, std::string_view prefix, std::string_view suffix) {
  if (!name.starts_with(prefix) || !name.ends_with(suffix)) return std::nullopt;
  if (name.size() <= prefix.size() + suffix.size()) return std::nullopt;
  name.remove_prefix(prefix.size());
  name.remove_suffix(suffix.size());
  return wholeNumber<unsigned>(name);
}

std::vector<FoundChannel> findChannels(Tree& tree, const std::string& directory) {
  std::vector<FoundChannel> channels;
  const std::vector<std::string> names = tree.names(directory);
  const auto has = [&names](const std::string& name) { return std::ranges::binary_search(names, name); };
  for (const std::string& name : names) {
    FoundChannel channel;
    for (const SensorKindRow& row : kSensorKinds) {
      channel.kind = row.kind;
      channel.number = numberIn(name, row.attribute, "_input");
      if (channel.number) break;
    }
    if (!channel.number) continue;
    channel.hasFault = has(channel.attribute("_fault"));
    const std::string label = channel.attribute("_label");
    if (has(label)) channel.label = displayText(tree.text(directory + label));
    channels.push_back(std::move(channel));
  }
  std::ranges::sort(channels, {},
                    [](const FoundChannel& channel) { return std::pair(channel.kind, channel.number); });
  return channels;
}

/// The chip's device below the devices of sysfs, without the entry of the chip itself; empty without a
/// device.
std::string devicePathOf(const Tree& tree, const std::string& entry) {
  std::string path = tree.belowDevices(entry);
  if (path.empty()) return tree.belowDevices(entry + "/device");
  path = parentOf(path);
  return lastComponent(path) == "hwmon" ? parentOf(path) : path;
}

std::string idPrefixOf(const std::string& devicePath, const std::string& name) {
  if (devicePath.empty() || devicePath == "virtual" || devicePath == "hwmon") return "virtual/" + name;
  // The name of a zone's chip is the zone's type, while zones are numbered as they are found.
  if (devicePath.starts_with("virtual/thermal/")) return "thermal/" + name;
  return displayText(withoutEnumeration(devicePath));
}

/// The file of the nearest device that supports runtime power management, from a device upwards.
std::string runtimeStatusOf(Tree& tree, std::string devicePath) {
  while (!devicePath.empty()) {
    std::string path = tree.devices();
    path.append(devicePath).append("/power/runtime_status");
    const std::string status = tree.text(path);
    if (!status.empty() && status != "unsupported") return path;
    devicePath = devicePath.find('/') == std::string::npos ? std::string() : parentOf(devicePath);
  }
  return {};
}

/// A drive's sensor is there before its disk, while the kernel still examines it.
void findDisk(Tree& tree, const std::string& device, FoundChip& chip) {
  const std::string disks = device + "/block/";
  const auto names = tree.names(disks);
  chip.awaitsDisk = names.empty();
  for (const std::string& disk : names) {
    std::string path = disks;
    path.append(disk).append("/queue/rotational");
    if (tree.text(path) == "1") chip.rotatingDisk = disk;
  }
}

std::optional<FoundChip> findChip(Tree& tree, const std::string& entry) {
  FoundChip chip;
  const std::string device = entry + "/device";
  // Drivers of the first hwmon interface keep their attributes with the device.
  for (const std::string& directory : {entry + "/", device + "/"}) {
    chip.directory = directory;
    chip.channels = findChannels(tree, directory);
    if (!chip.channels.empty()) break;
  }
  if (chip.channels.empty()) return std::nullopt;

  chip.name = displayText(tree.text(entry + "/name"));
  if (chip.name.empty()) chip.name = displayText(tree.text(device + "/name"));
  const std::string devicePath = devicePathOf(tree, entry);
  const std::string deviceName = displayText(devicePath.empty() ? "sensors" : lastComponent(devicePath));
  chip.idPrefix = idPrefixOf(devicePath, chip.name.empty() ? deviceName : chip.name);
  const Driver* driver = driverOf(chip.name);
  const bool isDrive = driver != nullptr && driver->part == PartOfMachine::Storage;
  if (isDrive) chip.displayName = displayText(tree.text(device + "/model"));
  if (chip.displayName.empty()) chip.displayName = chip.name.empty() ? deviceName : chip.name;
  chip.runtimeStatus = runtimeStatusOf(tree, devicePath);
  if (isDrive && driver->keepsDiskAwake) findDisk(tree, device, chip);
  return chip;
}

/// Entries of a class in the order of their devices, then of the names and, for twins, of their numbers.
std::vector<FoundChip> findChips(Tree& tree) {
  std::multimap<std::tuple<std::string, std::string, std::string, unsigned>, FoundChip> found;
  const std::string directory = tree.root() + "/class/hwmon/";
  for (const std::string& name : tree.names(directory)) {
    std::optional<FoundChip> chip = findChip(tree, directory + name);
    if (!chip) continue;
    std::tuple position(chip->idPrefix, chip->name, devicePathOf(tree, directory + name),
                        numberIn(name, "hwmon", "").value_or(0));
    found.emplace(std::move(position), *std::move(chip));
  }
  std::vector<FoundChip> chips;
  for (auto& [position, chip] : found) chips.push_back(std::move(chip));
  return chips;
}

bool isCovered(Tree& tree, const std::string& zone, std::string type,
               const std::set<std::string>& chipNames) {
  const auto covers = [&type](const std::string& name) {
    const Driver* driver = driverOf(name);
    return driver != nullptr && driver->coveredZone == type;
  };
  if (std::ranges::any_of(chipNames, covers)) return true;
  // The zone's hwmon chip cannot have hyphens in its name.
  std::ranges::replace(type, '-', '_');
  if (chipNames.contains(type)) return true;
  return std::ranges::any_of(tree.names(zone),
                             [](const std::string& name) { return numberIn(name, "hwmon", "").has_value(); });
}

std::vector<FoundChip> findZones(Tree& tree, const std::vector<FoundChip>& chips) {
  std::set<std::string> chipNames;
  for (const FoundChip& chip : chips) chipNames.insert(chip.name);
  std::multimap<std::pair<std::string, unsigned>, FoundChip> zones;
  const std::string directory = tree.root() + "/class/thermal/";
  for (const std::string& name : tree.names(directory)) {
    const std::optional<unsigned> number = numberIn(name, "thermal_zone", "");
    if (!number) continue;
    const std::string zone = directory + name + "/";
    const std::string type = displayText(tree.text(zone + "type"));
    const Driver* driver = driverOf(type);
    const bool isConstant = driver != nullptr && driver->isConstant;
    if (type.empty() || isConstant || isCovered(tree, zone, type, chipNames)) continue;
    FoundChip chip;
    chip.directory = zone;
    chip.idPrefix = "thermal/" + type;
    chip.name = chip.displayName = type;
    chip.channels.emplace_back();
    zones.emplace(std::pair(type, *number), std::move(chip));
  }
  std::vector<FoundChip> found;
  for (auto& [position, chip] : zones) found.push_back(std::move(chip));
  return found;
}

}  // namespace

std::string FoundChannel::attribute(std::string_view suffix) const {
  std::string name(rowOf(kind).attribute);
  if (number) name.append(std::to_string(*number)).append(suffix);
  return name;
}

Discovery discoverSensors(const std::string& sysfsRoot) {
  Tree tree(sysfsRoot);
  Discovery discovery;
  discovery.chips = findChips(tree);
  std::ranges::move(findZones(tree, discovery.chips), std::back_inserter(discovery.chips));
  discovery.complete = !tree.ranOut();
  return discovery;
}

}  // namespace quorlin
