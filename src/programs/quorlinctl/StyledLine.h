/// One line of a terminal that never grows wider than it may.
#pragma once

#include "quorlinctl/TerminalText.h"

#include <string>
#include <string_view>

namespace quorlin {

struct Appearance {
  Charset charset = Charset::Unicode;
  /// Colours and weights; without them the text is all there is.
  bool colour = false;
};

enum class Tone { Plain, Heading, Faint, Calm, Warm, Hot };

class StyledLine {
 public:
  StyledLine(int columns, Appearance appearance) : columns_(columns), appearance_(appearance) {}

  /// Appends what still fits.
  StyledLine& text(std::string_view text, Tone tone = Tone::Plain);
  /// Appends blanks up to a column.
  StyledLine& padTo(int column);
  /// Appends a text that ends before a column, if there is room for it.
  StyledLine& textEndingAt(int column, std::string_view text, Tone tone = Tone::Plain);
  /// Appends a line that was made for the same appearance, if there is room for it.
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
