#include "quorlinctl/SampleView.h"

#include "quorlinctl/Figures.h"
#include "quorlinctl/ReadingColumns.h"

#include <algorithm>
#include <sstream>

namespace quorlin {
namespace {

constexpr int kColumnWidth = 36;
constexpr int kMostColumns = 3;
constexpr int kReportWidth = 72;
/// Below it the readings get all of the screen.
constexpr int kRowsWithDisks = 12;
constexpr int kRowsWithPower = 20;
constexpr int kLeastPowerRows = 3;
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
    if (!view_.sample) {
      lines_.push_back(newLine());
      lines_.push_back(newLine().text("waiting for the agent…", Tone::Faint));
      if (!view_.silence.empty()) lines_.push_back(newLine().text(view_.silence));
    } else {
      sample(*view_.sample);
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
    const std::vector<StyledLine> power = powerMetrics();
    const int rows = report_ ? size_.rows : size_.rows - used() - static_cast<int>(below.size());
    const std::vector<ReadingBlock> blocks = blocksOf(sample);
    // The readings come first, but they leave the power metrics a line where there are many.
    const int powerLeast = power.empty() || size_.rows < kRowsWithPower ? 0 : kLeastPowerRows;
    readings(blocks, rows - powerLeast);
    lines_.insert(lines_.end(), below.begin(), below.end());
    const auto room = std::min<std::ptrdiff_t>(size_.rows - used(), std::ssize(power));
    if (room >= powerLeast) lines_.insert(lines_.end(), power.begin(), power.begin() + room);
  }

  static std::vector<ReadingBlock> blocksOf(const Sample& sample) {
    std::vector<ReadingBlock> blocks;
    for (ReadingGroup& group : groupTemperatures(sample.temperatures)) {
      blocks.push_back({.quantity = Quantity::Temperature, .group = std::move(group)});
    }
    if (sample.fans.empty()) return blocks;
    // Before the remaining temperatures, which a small terminal may have no room for.
    const bool hasRemainder = !blocks.empty() && blocks.back().group.title == kRemainderTitle;
    blocks.insert(hasRemainder ? blocks.end() - 1 : blocks.end(),
                  {.quantity = Quantity::Fan, .group = {.title = "Fans", .readings = sample.fans}});
    return blocks;
  }

  void readings(const std::vector<ReadingBlock>& blocks, int rows) {
    if (blocks.empty()) {
      add(newLine().text("This machine shows no sensors (quorlinctl doctor says why)", Tone::Faint));
      return;
    }
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

  /// A blank, a title, and the text as it came.
  std::vector<StyledLine> powerMetrics() const {
    if (!view_.powerMetrics) return {};
    std::vector<StyledLine> lines = {newLine(), newLine().text("Power", Tone::Heading)};
    std::istringstream text(*view_.powerMetrics);
    for (std::string row; std::getline(text, row);) {
      std::ranges::replace(row, '\t', ' ');
      std::erase(row, '\r');
      if (row.find_first_not_of(' ') != std::string::npos) lines.push_back(newLine().text("  ").text(row));
    }
    if (lines.size() == 2) lines.clear();
    return lines;
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
