#include "platform/linux/sensors/Drivers.h"
#include "platform/linux/sensors/SensorCatalogue.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace quorlin {
namespace {

constexpr std::size_t kMost = 6;

/// One temperature as the choice sees it.
struct Candidate {
  std::string_view label;
  std::size_t index;
};

using Candidates = std::vector<Candidate>;
using Indexes = std::vector<std::size_t>;

Candidates candidatesOf(const FoundChip& chip, std::size_t& next) {
  Candidates candidates;
  for (const FoundChannel& channel : chip.channels) {
    if (channel.kind == SensorKind::Temperature) candidates.push_back({channel.label, next++});
  }
  return candidates;
}

void addPreferred(Indexes& chosen, const Candidates& chip, const Driver& driver) {
  const std::size_t before = chosen.size();
  for (const std::string_view label : driver.preferredLabels) {
    // A chip of several processors' packages has a reading for each.
    for (const Candidate& candidate : chip) {
      if (!label.empty() && candidate.label.starts_with(label)) chosen.push_back(candidate.index);
    }
    if (chosen.size() > before) return;
  }
  chosen.push_back(chip.front().index);
}

}  // namespace

std::vector<std::size_t> reducedSetOf(const std::vector<FoundChip>& chips) {
  std::map<PartOfMachine, Indexes> preferred;
  std::size_t count = 0;
  for (const FoundChip& chip : chips) {
    const Candidates candidates = candidatesOf(chip, count);
    const Driver* driver = driverOf(chip.name);
    if (driver != nullptr && !candidates.empty()) addPreferred(preferred[driver->part], candidates, *driver);
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
