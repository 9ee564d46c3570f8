/// One line of a terminal, never wider than its limit.
#pragma once

#include "programs/quorlinctl/terminal/TerminalText.h"

#include <limits>
#include <string>
#include <string_view>

namespace quorlin {

struct ViewSize {
  static constexpr int kUnlimited = std::numeric_limits<int>::max();

  int columns = 80;
  int rows = kUnlimited;
};

struct Appearance {
  Charset charset = Charset::Unicode;
  /// Whether there are colours and weights.
  bool colour = false;
};

enum class Tone { Plain, Heading, Faint, Calm, Warm, Hot };

class StyledLine {
 public:
  StyledLine(int columns, Appearance appearance) : columns_(columns), appearance_(appearance) {}

  /// Appends as much as fits.
  StyledLine& text(std::string_view text, Tone tone = Tone::Plain);
  /// Appends spaces up to a column.
  StyledLine& padTo(int column);
  /// Appends a text so that it ends before a column, if it fits.
  StyledLine& textEndingAt(int column, std::string_view text, Tone tone = Tone::Plain);
  /// Appends a line of the same appearance, if it fits.
  StyledLine& line(const StyledLine& other);

  int width() const { return width_; }
  const std::string& bytes() const { return bytes_; }

 private:
  int columns_;
  Appearance appearance_;
  int width_ = 0;
  std::string bytes_;
};

}  // namespace quorlin
