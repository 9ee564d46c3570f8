#include "programs/quorlinctl/terminal/StyledLine.h"

#include <algorithm>

namespace quorlin {
namespace {

/// ECMA-48, SGR.
std::string_view renditionOf(Tone tone) {
  switch (tone) {
    case Tone::Heading:
      return "\x1b[1m";
    case Tone::Faint:
      return "\x1b[2m";
    case Tone::Calm:
      return "\x1b[36m";
    case Tone::Warm:
      return "\x1b[33m";
    case Tone::Hot:
      return "\x1b[1;31m";
    case Tone::Plain:
      break;
  }
  return {};
}

}  // namespace

StyledLine& StyledLine::text(std::string_view text, Tone tone) {
  const std::string_view rendition = appearance_.colour ? renditionOf(tone) : std::string_view();
  bytes_ += rendition;
  for (const Cell& cell : cellsWithin(text, columns_ - width_, appearance_.charset)) {
    bytes_ += cell.bytes;
    width_ += cell.width;
  }
  if (!rendition.empty()) bytes_ += "\x1b[0m";
  return *this;
}

StyledLine& StyledLine::padTo(int column) {
  const int blanks = std::min(column, columns_) - width_;
  if (blanks > 0) {
    bytes_.append(static_cast<std::size_t>(blanks), ' ');
    width_ += blanks;
  }
  return *this;
}

StyledLine& StyledLine::textEndingAt(int column, std::string_view text, Tone tone) {
  const int start = column - columnsOf(text, appearance_.charset);
  if (start < width_ || column > columns_) return *this;
  return padTo(start).text(text, tone);
}

StyledLine& StyledLine::line(const StyledLine& other) {
  if (width_ + other.width_ > columns_) return *this;
  bytes_ += other.bytes_;
  width_ += other.width_;
  return *this;
}

}  // namespace quorlin
