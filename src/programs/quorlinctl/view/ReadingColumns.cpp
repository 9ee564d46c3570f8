#include "programs/quorlinctl/view/ReadingColumns.h"

#include "programs/quorlinctl/view/Figures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace quorlin {
namespace {

constexpr int kGap = 4;
constexpr int kIndent = 2;
constexpr int kValueColumns = 9;
constexpr int kLongestBar = 16;

/// Label, bar and value. The value ends the line; without a bar it gets all the room beside the label.
StyledLine readingLine(const ReadingRow& row, int columns, Appearance appearance) {
  const int bar = row.fill ? std::min(columns / 4, kLongestBar) : 0;
  const int labelled = kIndent + columnsOf(row.label, appearance.charset) + 1;
  StyledLine value(bar > 0 ? kValueColumns : std::max(kValueColumns, columns - labelled), appearance);
  value.text(row.value, row.tone);
  const int barStart = columns - (bar > 0 ? kValueColumns + 1 + bar : value.width());
  StyledLine label(barStart - kIndent - 1, appearance);
  label.text(row.label);
  StyledLine line(columns, appearance);
  line.padTo(kIndent).line(label).padTo(barStart);
  if (bar > 0) {
    const int filled = static_cast<int>(std::lround(*row.fill * bar));
    line.text(repeated("━", filled), row.tone == Tone::Plain ? Tone::Calm : row.tone);
    line.text(repeated("─", bar - filled), Tone::Faint);
  }
  return line.padTo(columns - value.width()).line(value);
}

/// A row of a column: a title, a reading, or a blank before the next title.
struct Row {
  const ReadingBlock* block = nullptr;
  const ReadingRow* reading = nullptr;
};

struct Packing {
  std::vector<std::vector<Row>> columns;
  int hiddenReadings = 0;
};

/// Puts the blocks into columns with that many rows, and splits a block only if it must.
Packing pack(const std::vector<ReadingBlock>& blocks, int rows, int sideBySide) {
  Packing packing{.columns = std::vector<std::vector<Row>>(1), .hiddenReadings = 0};
  const auto room = [&] { return rows - static_cast<int>(packing.columns.back().size()); };
  const auto nextColumn = [&] {
    if (static_cast<int>(packing.columns.size()) == sideBySide) return false;
    packing.columns.emplace_back();
    return true;
  };
  for (const ReadingBlock& block : blocks) {
    const auto& readings = block.rows;
    const int whole = static_cast<int>(readings.size()) + 1;
    const int blank = packing.columns.back().empty() ? 0 : 1;
    // A block begins with at least its title and one reading.
    if (blank == 1 && (room() < blank + whole) && (whole <= rows || room() < blank + 2)) {
      if (!nextColumn() && room() < blank + 2) {
        packing.hiddenReadings += static_cast<int>(readings.size());
        continue;
      }
    }
    if (!packing.columns.back().empty()) packing.columns.back().push_back({});
    packing.columns.back().push_back({&block, nullptr});
    for (std::size_t i = 0; i < readings.size(); ++i) {
      if (room() == 0) {
        if (rows < 2 || !nextColumn()) {
          packing.hiddenReadings += static_cast<int>(readings.size() - i);
          break;
        }
        packing.columns.back().push_back({&block, nullptr});
      }
      packing.columns.back().push_back({&block, &readings[i]});
    }
  }
  return packing;
}

/// The shortest columns that hide nothing, or columns of all rows.
Packing packEvenly(const std::vector<ReadingBlock>& blocks, int rows, int sideBySide) {
  const int all = std::accumulate(blocks.begin(), blocks.end(), 0, [](int sum, const ReadingBlock& block) {
    return sum + static_cast<int>(block.rows.size()) + 2;
  });
  const int highest = std::min(rows, all);
  for (int tried = std::max(all / sideBySide - 1, 2); tried < highest; ++tried) {
    Packing packing = pack(blocks, tried, sideBySide);
    if (packing.hiddenReadings == 0) return packing;
  }
  return pack(blocks, highest, sideBySide);
}

}  // namespace

LaidOutReadings layOutReadings(const std::vector<ReadingBlock>& blocks, int columns, int rows, int sideBySide,
                               Appearance appearance) {
  const Packing packing = packEvenly(blocks, rows, sideBySide);
  const int columnWidth = (columns - kGap * (sideBySide - 1)) / sideBySide;
  LaidOutReadings result{.lines = {}, .hiddenReadings = packing.hiddenReadings};
  std::size_t height = 0;
  for (const auto& column : packing.columns) height = std::max(height, column.size());
  for (std::size_t i = 0; i < height; ++i) {
    StyledLine line(columns, appearance);
    int start = 0;
    for (const auto& column : packing.columns) {
      const Row row = i < column.size() ? column[i] : Row();
      if (row.block != nullptr) {
        line.padTo(start).line(row.reading == nullptr
                                   ? StyledLine(columnWidth, appearance).text(row.block->title, Tone::Heading)
                                   : readingLine(*row.reading, columnWidth, appearance));
      }
      start += columnWidth + kGap;
    }
    result.lines.push_back(std::move(line));
  }
  return result;
}

}  // namespace quorlin
