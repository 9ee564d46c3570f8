#include "quorlinctl/Sample.h"

#include "platform/KeyedArchiver.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>
#include <string_view>

namespace quorlin {
namespace {

double numberOf(const PropertyList* value) {
  if (value == nullptr) return kUnknownValue;
  if (const double* real = value->real()) return *real;
  if (const std::int64_t* integer = value->integer()) return static_cast<double>(*integer);
  return kUnknownValue;
}

std::vector<Reading> readingsOf(const Dictionary& userInfo, std::string_view labelsKey,
                                std::string_view valuesKey) {
  const PropertyList* labels = find(userInfo, labelsKey);
  const PropertyList* values = find(userInfo, valuesKey);
  if (labels == nullptr || labels->dictionary() == nullptr) return {};
  const Dictionary none;
  const Dictionary& numbers =
      values != nullptr && values->dictionary() != nullptr ? *values->dictionary() : none;
  std::vector<Reading> readings;
  for (const auto& [id, label] : *labels->dictionary()) {
    // The agent gives both the same order; a search for each would be slow for thousands.
    const std::size_t index = readings.size();
    const bool inOrder = index < numbers.size() && numbers[index].first == id;
    const PropertyList* value = inOrder ? &numbers[index].second : find(numbers, id);
    const std::string* text = label.string();
    readings.push_back({.id = id, .label = text == nullptr ? id : *text, .value = numberOf(value)});
  }
  return readings;
}

DiskTraffic activityOf(const Dictionary& userInfo, std::string_view archiveKey, std::string_view totalKey) {
  DiskTraffic activity{.rates = {}, .total = numberOf(find(userInfo, totalKey))};
  const PropertyList* archive = find(userInfo, archiveKey);
  if (archive == nullptr || archive->data() == nullptr) return activity;
  const std::optional<PropertyList> root = unarchiveRootObject(*archive->data());
  if (!root || root->array() == nullptr) return activity;
  for (const PropertyList& rate : *root->array()) activity.rates.push_back(numberOf(&rate));
  return activity;
}

struct PartOfMachine {
  std::string_view title;
  std::vector<std::string_view> words;
};

/// The first part one of whose words occurs in the id or label; all else belongs to the last.
const std::vector<PartOfMachine>& partsOfMachine() {
  static const std::vector<PartOfMachine> parts = {
      {"Storage", {"nvme", "drivetemp", "/ata", "scsi", "target", "composite", "disk", "ssd"}},
      {"Graphics", {"amdgpu", "radeon", "nouveau", "nvidia", "i915", "gpu", "junction", "edge"}},
      {"Processor",
       {"coretemp", "k10temp", "zenpower", "cpu", "package id", "core ", "tctl", "tdie", "tccd"}},
      {"Memory", {"dimm", "jc42", "spd5118", "memory"}},
      {"Network", {"iwlwifi", "ieee80211", "/net/", "wifi", "r8169", "mt79"}},
      {"Battery", {"power_supply", "battery", "bat0", "bat1"}},
      {kRemainderTitle, {}},
  };
  return parts;
}

constexpr std::array<std::string_view, 7> kOrder = {"Processor", "Graphics", "Memory",       "Storage",
                                                    "Network",   "Battery",  kRemainderTitle};

std::string_view partOf(const Reading& reading) {
  std::string text = reading.id + " " + reading.label;
  std::ranges::transform(text, text.begin(),
                         [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  for (const PartOfMachine& part : partsOfMachine()) {
    const auto occurs = [&](std::string_view word) { return text.find(word) != std::string::npos; };
    if (std::ranges::any_of(part.words, occurs)) return part.title;
  }
  return partsOfMachine().back().title;
}

}  // namespace

Sample sampleOf(const Dictionary& userInfo) {
  return {.temperatures = readingsOf(userInfo, "sensors", "sensorsData"),
          .fans = readingsOf(userInfo, "fans", "fansData"),
          .read = activityOf(userInfo, "readDiskIOData", "readDiskIOBytes"),
          .written = activityOf(userInfo, "writeDiskIOData", "writeDiskIOBytes")};
}

std::optional<std::string> powerMetricsOf(const Dictionary& userInfo) {
  const PropertyList* text = find(userInfo, "coreData");
  if (text == nullptr || text->string() == nullptr) return std::nullopt;
  return *text->string();
}

std::optional<std::int64_t> batteryLimitOf(const Dictionary& userInfo) {
  const PropertyList* limit = find(userInfo, "batteryLimit");
  if (limit == nullptr || limit->integer() == nullptr) return std::nullopt;
  return *limit->integer();
}

std::vector<ReadingGroup> groupTemperatures(const std::vector<Reading>& temperatures) {
  std::vector<ReadingGroup> groups;
  groups.reserve(kOrder.size());
  for (const std::string_view title : kOrder) groups.push_back({.title = std::string(title), .readings = {}});
  for (const Reading& reading : temperatures) {
    std::ranges::find(groups, partOf(reading), &ReadingGroup::title)->readings.push_back(reading);
  }
  std::erase_if(groups, [](const ReadingGroup& group) { return group.readings.empty(); });
  return groups;
}

}  // namespace quorlin
