#include "programs/quorlinctl/view/Sample.h"

#include "platform/KeyedArchiver.h"
#include "platform/linux/sensors/Drivers.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <glib.h>

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

/// In the order of the parts. The last also has the readings of unknown parts.
constexpr std::array<std::string_view, 7> kTitles = {"Processor", "Graphics", "Memory", "Storage",
                                                     "Network",   "Battery",  "System"};

struct WordsOfPart {
  PartOfMachine part;
  std::vector<std::string_view> words;
};

/// Words that name a part of the machine and are no drivers, in the order of the search.
const std::vector<WordsOfPart> kWordsOfParts = {
    {PartOfMachine::Storage, {"/ata", "scsi", "target", "disk", "ssd"}},
    {PartOfMachine::Graphics, {"gpu", "junction"}},
    {PartOfMachine::Processor, {"cpu", "core ", "tccd"}},
    {PartOfMachine::Memory, {"dimm", "memory"}},
    {PartOfMachine::Network, {"ieee80211", "/net/", "wifi"}},
    {PartOfMachine::Battery, {"power_supply", "battery", "bat0", "bat1"}},
};

/// Short names of drivers occur within other words and numbers: "xe" in "Exemplar" and in "0xe0".
bool hasWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    const bool begins = at == 0 || !g_ascii_isalnum(text[at - 1]);
    if (begins && (end == text.size() || !g_ascii_isalpha(text[end]))) return true;
  }
  return false;
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), g_ascii_tolower);
  return lower;
}

PartOfMachine partOf(const Reading& reading) {
  const std::string text = lowerCase(reading.id + " " + reading.label);
  for (const WordsOfPart& candidate : kWordsOfParts) {
    const auto occurs = [&](std::string_view word) {
      return !word.empty() && text.find(lowerCase(word)) != std::string::npos;
    };
    const bool hasDriver = std::ranges::any_of(kDrivers, [&](const Driver& driver) {
      return driver.part == candidate.part &&
             (hasWord(text, driver.name) || std::ranges::any_of(driver.preferredLabels, occurs));
    });
    if (hasDriver || std::ranges::any_of(candidate.words, occurs)) return candidate.part;
  }
  return PartOfMachine::Board;
}

}  // namespace

Sample sampleOf(const Dictionary& userInfo) {
  Sample sample{.readings = {},
                .read = activityOf(userInfo, "readDiskIOData", "readDiskIOBytes"),
                .written = activityOf(userInfo, "writeDiskIOData", "writeDiskIOBytes")};
  for (const SensorKindRow& row : kSensorKinds) {
    sample.readings[row.kind] = readingsOf(userInfo, row.labelsKey, row.valuesKey);
  }
  return sample;
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
  groups.reserve(kTitles.size());
  for (std::size_t i = 0; i < kTitles.size(); ++i) {
    groups.push_back(
        {.part = static_cast<PartOfMachine>(i), .title = std::string(kTitles[i]), .readings = {}});
  }
  for (const Reading& reading : temperatures) {
    groups[static_cast<std::size_t>(partOf(reading))].readings.push_back(reading);
  }
  std::erase_if(groups, [](const ReadingGroup& group) { return group.readings.empty(); });
  return groups;
}

}  // namespace quorlin
