#include "engine/SensorCatalogue.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quorlin {
namespace {

constexpr std::size_t kMost = 6;

/// One temperature as the choice sees it.
struct Candidate {
  std::string_view chip;
  std::string_view label;
  std::size_t index;
  bool isFirst;
};

using Candidates = std::vector<Candidate>;
using Indexes = std::vector<std::size_t>;

Candidates candidatesOf(const FoundChip& chip, std::size_t& next) {
  Candidates candidates;
  for (const FoundChannel& channel : chip.channels) {
    if (channel.kind != SensorKind::Temperature) continue;
    candidates.push_back({chip.name, channel.label, next, candidates.empty()});
    ++next;
  }
  return candidates;
}

bool isAnyOf(std::string_view name, const auto& names) {
  return std::ranges::find(names, name) != names.end();
}

/// The reading of a chip with one of the labels, in the order of preference; else its first.
void addPreferred(Indexes& chosen, const Candidates& chip, const auto& labels) {
  for (const std::string_view label : labels) {
    const auto found = std::ranges::find(chip, label, &Candidate::label);
    if (found == chip.end()) continue;
    chosen.push_back(found->index);
    return;
  }
  chosen.push_back(chip.front().index);
}

/// A chip of several processors' packages has a reading for each.
void addPackages(Indexes& chosen, const Candidates& chip) {
  const std::size_t before = chosen.size();
  for (const Candidate& candidate : chip) {
    if (candidate.label.starts_with("Package id ")) chosen.push_back(candidate.index);
  }
  // Without a package, one core stands for all.
  if (chosen.size() == before) chosen.push_back(chip.front().index);
}

}  // namespace

std::vector<std::size_t> reducedSetOf(const std::vector<FoundChip>& chips) {
  using Names = std::string_view;
  constexpr std::array<Names, 5> processors = {"k10temp", "zenpower", "cpu_thermal", "cpu-thermal",
                                               "x86_pkg_temp"};
  constexpr std::array<Names, 5> graphics = {"amdgpu", "nouveau", "radeon", "i915", "xe"};
  constexpr std::array<Names, 2> dieLabels = {"Tdie", "Tctl"};

  Indexes processor;
  Indexes gpu;
  Indexes drive;
  Indexes board;
  std::size_t count = 0;
  for (const FoundChip& chip : chips) {
    const Candidates candidates = candidatesOf(chip, count);
    if (candidates.empty()) continue;
    if (chip.name == "coretemp") addPackages(processor, candidates);
    if (isAnyOf(chip.name, processors)) addPreferred(processor, candidates, dieLabels);
    if (isAnyOf(chip.name, graphics)) addPreferred(gpu, candidates, std::array<Names, 1>{"edge"});
    if (chip.name == "nvme") addPreferred(drive, candidates, std::array<Names, 1>{"Composite"});
    if (chip.name == "drivetemp") drive.push_back(candidates.front().index);
    if (chip.name == "acpitz") board.push_back(candidates.front().index);
  }
  Indexes chosen = processor.empty() ? std::move(board) : std::move(processor);
  chosen.insert(chosen.end(), gpu.begin(), gpu.end());
  chosen.insert(chosen.end(), drive.begin(), drive.end());
  if (chosen.empty() && count > 0) chosen.push_back(0);
  chosen.resize(std::min(chosen.size(), kMost));
  return chosen;
}

}  // namespace quorlin
