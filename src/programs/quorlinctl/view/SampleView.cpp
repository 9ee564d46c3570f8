#include "programs/quorlinctl/view/SampleView.h"

#include "programs/quorlinctl/view/Figures.h"
#include "programs/quorlinctl/view/ReadingColumns.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr int kColumnWidth = 36;
constexpr int kMostColumns = 3;
constexpr int kReportWidth = 72;
/// A lower screen shows readings only.
constexpr int kRowsWithDisks = 12;
constexpr int kDiskLabelColumns = 9;
constexpr int kDiskRateColumns = 11;
constexpr int kLongestSparkline = 60;
/// A nearly idle disk draws a flat line.
constexpr double kLeastDiskScale = 100'000;

std::string moreReadings(int count) {
  return count == 1 ? "… 1 more reading" : fmt::format("… {} more readings", count);
}

std::string moreReadingsWithAdvice(int count) {
  return count == 1 ? "… 1 more reading (quorlinctl watch --once shows all)"
                    : fmt::format("… {} more readings (quorlinctl watch --once shows all)", count);
}

/// Makes the lines of one view.
class ViewRenderer {
 public:
  ViewRenderer(const SampleView& view, ViewSize size, Appearance appearance)
      : view_(view), size_(size), appearance_(appearance), report_(size.rows == ViewSize::kUnlimited) {
    if (report_) size_.columns = std::min(size_.columns, kReportWidth);
  }

  std::vector<std::string> render() {
    title();
    if (view_.sample) {
      sample(*view_.sample);
    } else {
      add(newLine());
      add(newLine().text(view_.powerMetrics ? "waiting for a sample…" : "waiting for the agent…",
                         Tone::Faint));
      for (const std::string_view line : linesOf(view_.silence, size_.columns, appearance_.charset)) {
        add(newLine().text(line));
      }
      add(newLine());
      readings(withPower({}), size_.rows - used());
      for (StyledLine& line : hold()) add(std::move(line));
    }
    std::vector<std::string> lines;
    for (const StyledLine& line : lines_) {
      if (static_cast<int>(lines.size()) < size_.rows) lines.push_back(line.bytes());
    }
    return lines;
  }

 private:
  StyledLine newLine() const { return {size_.columns, appearance_}; }
  void add(StyledLine line) { lines_.push_back(std::move(line)); }
  std::string firstThatFits(const std::string& text, const std::string& shorter, int start = 0) const {
    return start + columnsOf(text, appearance_.charset) <= size_.columns ? text : shorter;
  }
  int used() const { return static_cast<int>(lines_.size()); }

  void title() {
    const std::string_view hint = report_ ? "" : "  q quits";
    const int end = size_.columns - static_cast<int>(hint.size());
    const int timeStart = end - columnsOf(view_.time, appearance_.charset);
    StyledLine machine(std::max(timeStart - 2, 0), appearance_);
    machine.text(view_.machine, Tone::Heading);
    add(newLine().line(machine).textEndingAt(end, view_.time).text(hint, Tone::Faint));
    if (size_.rows >= kRowsWithDisks) {
      add(newLine().text(repeated("─", size_.columns), Tone::Faint));
    }
  }

  void sample(const Sample& sample) {
    std::vector<StyledLine> below;
    if (size_.rows >= kRowsWithDisks) {
      below = disks(sample);
      std::ranges::move(hold(), std::back_inserter(below));
    }
    std::vector<ReadingBlock> sensors = sensorBlocks(sample);
    if (sensors.empty()) {
      add(newLine().text("This machine has no sensors (quorlinctl doctor explains why)", Tone::Faint));
      if (!withPower({}).empty()) add(newLine());
    }
    const int rows = report_ ? size_.rows : size_.rows - used() - static_cast<int>(below.size());
    readings(withPower(std::move(sensors)), rows);
    lines_.insert(lines_.end(), below.begin(), below.end());
  }

  /// Power and battery come second, since the last blocks may not fit a small terminal.
  std::vector<ReadingBlock> withPower(std::vector<ReadingBlock> blocks) const {
    insertAfterProcessor(blocks, batteryBlock(view_.batteries, view_.batteryLimit));
    insertAfterProcessor(blocks, powerBlock(view_.powerMetrics.value_or("")));
    return blocks;
  }

  void readings(const std::vector<ReadingBlock>& blocks, int rows) {
    if (blocks.empty()) return;
    const int sideBySide = report_ ? 1 : std::clamp(size_.columns / kColumnWidth, 1, kMostColumns);
    LaidOutReadings laidOut = layOutReadings(blocks, size_.columns, rows, sideBySide, appearance_);
    if (laidOut.hiddenReadings > 0) {
      laidOut = layOutReadings(blocks, size_.columns, rows - 1, sideBySide, appearance_);
    }
    for (StyledLine& line : laidOut.lines) add(std::move(line));
    if (laidOut.hiddenReadings > 0) {
      add(newLine().text(
          firstThatFits(moreReadingsWithAdvice(laidOut.hiddenReadings), moreReadings(laidOut.hiddenReadings)),
          Tone::Faint));
    }
  }

  std::vector<StyledLine> disks(const Sample& sample) const {
    const std::string read = bytesText(sample.read.total);
    const std::string written = bytesText(sample.written.total);
    StyledLine totals = newLine().text("Disks", Tone::Heading).text("  ");
    totals.text(firstThatFits(fmt::format("read {}, written {} since the machine started", read, written),
                              fmt::format("read {}, written {}", read, written), totals.width()));
    return {newLine(), totals, diskLine("Read", sample.read), diskLine("Write", sample.written)};
  }

  std::vector<StyledLine> hold() const {
    std::vector<StyledLine> lines;
    for (const std::string_view line : linesOf(view_.hold, size_.columns, appearance_.charset)) {
      if (lines.empty()) lines.push_back(newLine());
      lines.push_back(newLine().text(line));
    }
    return lines;
  }

  StyledLine diskLine(std::string_view label, const DiskTraffic& activity) const {
    const int columns =
        std::clamp(size_.columns - kDiskLabelColumns - kDiskRateColumns, 0, kLongestSparkline);
    StyledLine line = newLine();
    line.text("  ").text(label).padTo(kDiskLabelColumns);
    line.text(sparkline(activity.rates, columns, kLeastDiskScale), Tone::Calm);
    return line.textEndingAt(kDiskLabelColumns + columns + kDiskRateColumns,
                             rateText(activity.currentRate()));
  }

  const SampleView& view_;
  ViewSize size_;
  Appearance appearance_;
  bool report_;
  std::vector<StyledLine> lines_;
};

}  // namespace

std::vector<std::string> renderView(const SampleView& view, ViewSize size, Appearance appearance) {
  return ViewRenderer(view, size, appearance).render();
}

}  // namespace quorlin
