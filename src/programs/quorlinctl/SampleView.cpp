#include "quorlinctl/SampleView.h"

#include "quorlinctl/Figures.h"
#include "quorlinctl/ReadingColumns.h"

#include <algorithm>
#include <utility>

namespace quorlin {
namespace {

constexpr int kColumnWidth = 36;
constexpr int kMostColumns = 3;
constexpr int kReportWidth = 72;
/// Below it the readings get all of the screen.
constexpr int kRowsWithDisks = 12;
constexpr int kDiskLabelColumns = 9;
constexpr int kDiskRateColumns = 11;
constexpr int kLongestSparkline = 60;
/// A disk that does next to nothing draws a flat line.
constexpr double kLeastDiskScale = 100'000;

std::string counted(int count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
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
      paragraph(view_.silence);
      add(newLine());
      readings(withPower({}), size_.rows - used());
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
  /// Lines that end at blanks, where there are any.
  void paragraph(std::string_view text) {
    while (!text.empty()) {
      std::size_t end = text.size();
      while (columnsOf(text.substr(0, end), appearance_.charset) > size_.columns) {
        const std::size_t blank = text.rfind(' ', end - 1);
        if (blank == std::string_view::npos || blank == 0) break;
        end = blank;
      }
      add(newLine().text(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }
  int used() const { return static_cast<int>(lines_.size()); }

  void title() {
    constexpr std::string_view quit = "  q quits";
    const std::string_view hint = report_ ? "" : quit;
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
    if (size_.rows >= kRowsWithDisks) disks(sample, below);
    std::vector<ReadingBlock> sensors = sensorBlocks(sample);
    if (sensors.empty()) {
      add(newLine().text("This machine shows no sensors (quorlinctl doctor says why)", Tone::Faint));
      if (!withPower({}).empty()) add(newLine());
    }
    const int rows = report_ ? size_.rows : size_.rows - used() - static_cast<int>(below.size());
    readings(withPower(std::move(sensors)), rows);
    lines_.insert(lines_.end(), below.begin(), below.end());
  }

  /// Power and battery come second, since a small terminal may have no room for what comes last.
  std::vector<ReadingBlock> withPower(std::vector<ReadingBlock> blocks) const {
    insertBehind(blocks, "Processor", batteryBlock(view_.battery, view_.batteryLimit));
    insertBehind(blocks, "Processor", powerBlock(view_.powerMetrics.value_or("")));
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
      const std::string more = "… " + counted(laidOut.hiddenReadings, "more reading", "more readings");
      add(newLine().text(firstThatFits(more + " (quorlinctl watch --once shows all)", more), Tone::Faint));
    }
  }

  void disks(const Sample& sample, std::vector<StyledLine>& lines) const {
    lines.push_back(newLine());
    const std::string totals =
        "  read " + bytesText(sample.read.total) + ", written " + bytesText(sample.written.total);
    lines.push_back(newLine().text("Disks", Tone::Heading));
    lines.back().text(firstThatFits(totals + " since the machine started", totals, lines.back().width()));
    lines.push_back(diskLine("  Read", sample.read));
    lines.push_back(diskLine("  Write", sample.written));
  }

  StyledLine diskLine(std::string_view label, const DiskTraffic& activity) const {
    const int columns =
        std::clamp(size_.columns - kDiskLabelColumns - kDiskRateColumns, 0, kLongestSparkline);
    StyledLine line = newLine();
    line.text(label).padTo(kDiskLabelColumns);
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
