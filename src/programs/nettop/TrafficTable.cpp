#include "programs/nettop/TrafficTable.h"

#include "platform/values/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

namespace quorlin {
namespace {

using Row = std::array<std::string, 4>;

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// How many columns a text takes, most characters taking one.
std::size_t width(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, isContinuation));
}

/// By Unicode 15's White_Space and general category Cc, the invisible characters near them, and what stands
/// for a byte that is not UTF-8.
bool mayNotShow(char32_t character) {
  using Range = std::pair<char32_t, char32_t>;
  constexpr auto ranges = std::to_array<Range>({{0, 0x20},
                                                {0x7F, 0xA0},
                                                {0xAD, 0xAD},
                                                {0x61C, 0x61C},
                                                {0x1680, 0x1680},
                                                {0x2000, 0x200F},
                                                {0x2028, 0x202F},
                                                {0x205F, 0x206F},
                                                {0x3000, 0x3000},
                                                {0xFEFF, 0xFEFF},
                                                {0xFFFD, 0xFFFD},
                                                {0xE0000, 0xE007F}});
  return std::ranges::any_of(
      ranges, [=](const Range& range) { return range.first <= character && character <= range.second; });
}

std::string timeStamp(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  const auto microseconds =
      std::chrono::floor<std::chrono::microseconds>(time).time_since_epoch().count() % 1000000;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%06d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(microseconds));
  return text.data();
}

}  // namespace

std::string singleWord(std::string_view name) {
  const std::string wellFormed = withoutMalformedUtf8(name);
  std::string word;
  for (std::string_view rest = wellFormed; !rest.empty();) {
    const std::string_view before = rest;
    const bool isReplaced = mayNotShow(takeCodePoint(rest));
    word += isReplaced ? "_" : before.substr(0, before.size() - rest.size());
  }
  return word;
}

std::string trafficTable(std::span<const ProcessTraffic> processes,
                         std::chrono::system_clock::time_point time) {
  const std::string stamp = timeStamp(time);
  std::vector<Row> rows = {{"time", "process", "bytes_in", "bytes_out"}};
  for (const ProcessTraffic& process : processes) {
    rows.push_back({stamp, singleWord(process.name) + '.' + std::to_string(process.id),
                    std::to_string(process.bytesIn), std::to_string(process.bytesOut)});
  }
  std::array<std::size_t, 4> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
  }
  std::string table;
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string blanks(widths[i] - width(row[i]), ' ');
      // Words at the left, numbers at the right.
      table += i < 2 ? row[i] + blanks + "  " : blanks + row[i] + (i == 2 ? "  " : "\n");
    }
  }
  return table;
}

}  // namespace quorlin
