#include "programs/quorlinctl/view/ReadingBlocks.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "programs/quorlinctl/view/Figures.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace quorlin {
namespace {

constexpr double kBarLow = 20;
constexpr double kBarHigh = 100;
constexpr double kWarm = 75;
constexpr double kHot = 90;
constexpr int kLowCharge = 20;
constexpr int kVeryLowCharge = 10;
constexpr int kFull = 100;

ReadingRow rowFor(SensorKind kind, const Reading& reading) {
  ReadingRow row{.label = reading.label.empty() ? reading.id : reading.label,
                 .value = readingText(kind, reading.value),
                 .tone = std::isfinite(reading.value) ? Tone::Plain : Tone::Faint};
  if (kind != SensorKind::Temperature || !std::isfinite(reading.value)) return row;
  if (reading.value >= kWarm) row.tone = reading.value >= kHot ? Tone::Hot : Tone::Warm;
  row.fill = std::clamp((reading.value - kBarLow) / (kBarHigh - kBarLow), 0.0, 1.0);
  return row;
}

ReadingBlock blockOf(std::string title, SensorKind kind, const std::vector<Reading>& readings) {
  ReadingBlock block{.title = std::move(title)};
  for (const Reading& reading : readings) block.rows.push_back(rowFor(kind, reading));
  return block;
}

std::string labelOf(const Battery& battery, std::optional<std::int64_t> limit) {
  if (battery.isDischarging) return "Charger too weak";
  if (battery.state == kOnBattery) return "On battery";
  if (battery.state == kCharging) return "Charging";
  if (battery.percent == kFull) return "Full";
  const bool held = limit && battery.percent && *battery.percent >= *limit;
  return held ? "Held at limit" : "Not charging";
}

ReadingRow rowOf(const Battery& battery, std::optional<std::int64_t> limit) {
  ReadingRow charge{.label = labelOf(battery, limit), .value = percentText(battery.percent)};
  if (battery.isDischarging) charge.tone = Tone::Warm;
  if (!battery.percent) return charge;
  charge.fill = *battery.percent / static_cast<double>(kFull);
  const bool drains = battery.state == kOnBattery || battery.isDischarging;
  if (drains && *battery.percent <= kLowCharge) {
    charge.tone = *battery.percent <= kVeryLowCharge ? Tone::Hot : Tone::Warm;
  }
  return charge;
}

}  // namespace

std::vector<ReadingBlock> sensorBlocks(const Sample& sample) {
  std::vector<ReadingBlock> blocks;
  for (const ReadingGroup& group : groupTemperatures(sample.readings[SensorKind::Temperature])) {
    blocks.push_back(blockOf(group.title, SensorKind::Temperature, group.readings));
    blocks.back().part = group.part;
  }
  // The other kinds come before the other temperatures, which may not fit a small terminal.
  std::for_each(kSensorKinds.rbegin(), kSensorKinds.rend(), [&](const SensorKindRow& row) {
    if (row.kind == SensorKind::Temperature) return;
    insertAfterProcessor(blocks, blockOf(row.title, row.kind, sample.readings[row.kind]));
  });
  return blocks;
}

ReadingBlock powerBlock(std::string_view metrics) {
  ReadingBlock block{.title = "Power"};
  while (!metrics.empty()) {
    const std::string_view line = trimmed(takeUntil('\n', metrics));
    if (line.empty()) continue;
    std::string_view rest = line;
    const std::string_view label = takeUntil(':', rest);
    const std::string_view value = trimmed(rest);
    block.rows.push_back({.label = std::string(value.empty() ? line : label), .value = std::string(value)});
  }
  return block;
}

ReadingBlock batteryBlock(const std::vector<Battery>& batteries, std::optional<std::int64_t> limit) {
  ReadingBlock block{.title = "Battery", .part = PartOfMachine::Battery};
  if (batteries.empty()) return block;
  if (limit && (*limit < 1 || *limit >= kFull)) limit.reset();
  for (std::size_t i = 0; i < batteries.size(); ++i) {
    block.rows.push_back(rowOf(batteries[i], limit));
    if (batteries.size() > 1) block.rows.back().label += " (battery " + std::to_string(i + 1) + ")";
  }
  if (limit) {
    block.rows.push_back({.label = "Charge limit", .value = percentText(static_cast<int>(*limit))});
  }
  return block;
}

void insertAfterProcessor(std::vector<ReadingBlock>& blocks, ReadingBlock block) {
  if (block.rows.empty()) return;
  const auto same = std::ranges::find(blocks, block.part, &ReadingBlock::part);
  if (block.part && same != blocks.end()) {
    std::ranges::move(same->rows, std::back_inserter(block.rows));
    blocks.erase(same);
  }
  const auto before = std::ranges::find(blocks, PartOfMachine::Processor, &ReadingBlock::part);
  blocks.insert(before == blocks.end() ? blocks.begin() : before + 1, std::move(block));
}

}  // namespace quorlin
