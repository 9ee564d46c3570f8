#include "platform/linux/sensors/SensorCatalogue.h"

#include "platform/linux/sensors/Drivers.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace quorlin {
namespace {

struct Named {
  const FoundChip* chip;
  std::string id;
  std::string label;
  bool namesChip;
};

Named named(const FoundChip& chip, const FoundChannel& channel) {
  Named sensor{.chip = &chip, .id = chip.idPrefix, .label = channel.label, .namesChip = false};
  if (channel.number) sensor.id += "/" + channel.attribute("");
  if (!sensor.label.empty()) return sensor;
  sensor.namesChip = true;
  sensor.label = chip.displayName;
  const auto alike = std::ranges::count_if(chip.channels, [&channel](const FoundChannel& other) {
    return other.kind == channel.kind && other.label.empty();
  });
  if (alike > 1) {
    sensor.label.append(" ").append(rowOf(channel.kind).word).append(" ");
    sensor.label += std::to_string(channel.number.value_or(0));
  }
  return sensor;
}

/// Adds the chip to the labels that several chips use, or that say nothing by themselves.
void tellChipsApart(std::vector<Named>& sensors) {
  std::map<std::string, std::set<const FoundChip*>> users;
  for (const Named& sensor : sensors) users[sensor.label].insert(sensor.chip);
  for (Named& sensor : sensors) {
    if (sensor.namesChip) continue;
    const Driver* driver = driverOf(sensor.chip->name);
    const bool isPart = driver != nullptr && driver->labelsNameParts;
    if (isPart || users[sensor.label].size() > 1) sensor.label += " (" + sensor.chip->displayName + ")";
  }
}

/// The text itself, or numbered when it has been used.
std::string unused(std::set<std::string>& used, const std::string& text, const char* mark) {
  std::string candidate = text;
  for (int number = 2; !used.insert(candidate).second; ++number) {
    candidate = text + mark + std::to_string(number);
  }
  return candidate;
}

Dictionary labelsOf(const std::vector<FoundChip>& chips, SensorKind kind) {
  std::vector<Named> sensors;
  for (const FoundChip& chip : chips) {
    for (const FoundChannel& channel : chip.channels) {
      if (channel.kind == kind) sensors.push_back(named(chip, channel));
    }
  }
  tellChipsApart(sensors);
  Dictionary labels;
  labels.reserve(sensors.size());
  std::set<std::string> usedIds;
  std::set<std::string> usedLabels;
  for (const Named& sensor : sensors) {
    labels.emplace_back(unused(usedIds, sensor.id, "#"), unused(usedLabels, sensor.label, " #"));
  }
  return labels;
}

}  // namespace

SensorCatalogue catalogueOf(const std::vector<FoundChip>& chips) {
  SensorCatalogue catalogue;
  for (const SensorKindRow& row : kSensorKinds) {
    catalogue.labels[row.kind] = std::make_shared<const Dictionary>(labelsOf(chips, row.kind));
  }
  catalogue.reducedIndexes = reducedSetOf(chips);
  const Dictionary& temperatures = *catalogue.labels[SensorKind::Temperature];
  Dictionary reduced;
  for (const std::size_t index : catalogue.reducedIndexes) reduced.push_back(temperatures[index]);
  catalogue.reduced = std::make_shared<const Dictionary>(std::move(reduced));
  return catalogue;
}

}  // namespace quorlin
