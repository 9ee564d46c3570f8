#include "platform/linux/sensors/Drivers.h"
#include "platform/linux/sensors/SensorCatalogue.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace quorlin {
namespace {

constexpr std::size_t kMost = 6;

using Indexes = std::vector<std::size_t>;

/// Chooses among a chip's temperatures, whose indexes count from that of the first.
void addPreferred(Indexes& chosen, const FoundChip& chip, std::size_t first, const Driver& driver) {
  const std::size_t before = chosen.size();
  for (const std::string_view label : driver.preferredLabels) {
    std::size_t index = first;
    // A chip of several processors' packages has a reading for each.
    for (const FoundChannel& channel : chip.channels) {
      if (channel.kind != SensorKind::Temperature) continue;
      if (!label.empty() && channel.label.starts_with(label)) chosen.push_back(index);
      ++index;
    }
    if (chosen.size() > before) return;
  }
  chosen.push_back(first);
}

}  // namespace

std::vector<std::size_t> reducedSetOf(const std::vector<FoundChip>& chips) {
  std::map<PartOfMachine, Indexes> preferred;
  std::size_t count = 0;
  for (const FoundChip& chip : chips) {
    const std::size_t first = count;
    for (const FoundChannel& channel : chip.channels)
      count += channel.kind == SensorKind::Temperature ? 1 : 0;
    const Driver* driver = driverOf(chip.name);
    if (driver != nullptr && count > first) addPreferred(preferred[driver->part], chip, first, *driver);
  }
  const bool hasProcessor = preferred.contains(PartOfMachine::Processor);
  Indexes chosen;
  for (const PartOfMachine part : {hasProcessor ? PartOfMachine::Processor : PartOfMachine::Board,
                                   PartOfMachine::Graphics, PartOfMachine::Storage}) {
    chosen.insert(chosen.end(), preferred[part].begin(), preferred[part].end());
  }
  if (chosen.empty() && count > 0) chosen.push_back(0);
  chosen.resize(std::min(chosen.size(), kMost));
  return chosen;
}

}  // namespace quorlin
