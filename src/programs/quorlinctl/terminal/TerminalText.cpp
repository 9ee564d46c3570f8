#include "programs/quorlinctl/terminal/TerminalText.h"

#include "platform/values/Utf8.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdint>
#include <cwchar>
#include <numeric>
#include <utility>

#include <langinfo.h>

namespace quorlin {
namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::string_view kEllipsis = "…";
constexpr int kMaximumMarks = 4;

struct CodePointRange {
  char32_t first;
  char32_t last;
};

/// Format characters (Unicode 15, general category Cf) and variation selectors.
constexpr std::array<CodePointRange, 13> kLeftOut = {{
    {0x00AD, 0x00AD},
    {0x0600, 0x0605},
    {0x061C, 0x061C},
    {0x06DD, 0x06DD},
    {0x070F, 0x070F},
    {0x180B, 0x180E},
    {0x200B, 0x200F},
    {0x2028, 0x202E},
    {0x2060, 0x206F},
    {0xFE00, 0xFE0F},
    {0xFEFF, 0xFEFF},
    {0xFFF9, 0xFFFB},
    {0xE0000, 0xE0FFF},
}};

constexpr std::array<std::pair<std::string_view, std::string_view>, 16> kLikenesses = {{
    {"°", ""},
    {"…", "..."},
    {"—", "-"},
    {"·", "-"},
    {"─", "-"},
    {"━", "="},
    {"▁", "_"},
    {"▂", "."},
    {"▃", ":"},
    {"▄", "-"},
    {"▅", "="},
    {"▆", "+"},
    {"▇", "*"},
    {"█", "#"},
    {"é", "e"},
    {"µ", "u"},
}};

bool isLeftOut(char32_t codePoint) {
  return std::ranges::any_of(
      kLeftOut, [=](CodePointRange range) { return range.first <= codePoint && codePoint <= range.last; });
}

Cell asciiCell(std::string_view character) {
  if (character.size() == 1) return {std::string(character), 1};
  const auto* found =
      std::ranges::find(kLikenesses, character, &std::pair<std::string_view, std::string_view>::first);
  const std::string_view likeness = found == kLikenesses.end() ? "?" : found->second;
  return {std::string(likeness), static_cast<int>(likeness.size())};
}

int widthOf(const std::vector<Cell>& cells) {
  return std::accumulate(cells.begin(), cells.end(), 0,
                         [](int sum, const Cell& cell) { return sum + cell.width; });
}

}  // namespace

Charset charsetOfLocale() {
  return std::string_view(nl_langinfo(CODESET)) == "UTF-8" ? Charset::Unicode : Charset::Ascii;
}

std::vector<Cell> cellsOf(std::string_view text, Charset charset) {
  const std::string mended = withoutMalformedUtf8(text);
  std::vector<Cell> cells;
  int marks = 0;
  for (std::string_view rest = mended; !rest.empty();) {
    std::string_view character = rest;
    const char32_t codePoint = takeCodePoint(rest);
    character.remove_suffix(rest.size());
    if (isLeftOut(codePoint)) continue;
    const bool control = isControl(codePoint);
    if (charset == Charset::Ascii) {
      Cell cell = control ? Cell{"?", 1} : asciiCell(character);
      if (cell.width > 0) cells.push_back(std::move(cell));
      continue;
    }
    const int width = control ? -1 : ::wcwidth(static_cast<wchar_t>(codePoint));
    if (width == 0) {
      // A mark without a character, or one of a pile of marks, would draw over its neighbours.
      if (!cells.empty() && ++marks <= kMaximumMarks) cells.back().bytes += character;
      continue;
    }
    marks = 0;
    cells.push_back(width < 0 ? Cell{std::string(kReplacement), 1} : Cell{std::string(character), width});
  }
  return cells;
}

int columnsOf(std::string_view text, Charset charset) { return widthOf(cellsOf(text, charset)); }

std::vector<Cell> cellsWithin(std::string_view text, int columns, Charset charset) {
  std::vector<Cell> cells = cellsOf(text, charset);
  int width = widthOf(cells);
  if (width <= columns) return cells;
  const Cell ellipsis = charset == Charset::Unicode ? Cell{std::string(kEllipsis), 1} : Cell{".", 1};
  while (!cells.empty() && width + ellipsis.width > columns) {
    width -= cells.back().width;
    cells.pop_back();
  }
  if (ellipsis.width <= columns) cells.push_back(ellipsis);
  return cells;
}

std::vector<std::string_view> linesOf(std::string_view text, int columns, Charset charset) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    std::size_t end = text.size();
    while (columnsOf(text.substr(0, end), charset) > columns) {
      const std::size_t blank = text.rfind(' ', end - 1);
      if (blank == std::string_view::npos || blank == 0) break;
      end = blank;
    }
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

}  // namespace quorlin
