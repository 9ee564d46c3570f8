/// Text that came from elsewhere, made fit for a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// What the terminal can show. Ascii stands for every locale that is not UTF-8.
enum class Charset { Unicode, Ascii };

/// The charset of the process's locale.
Charset charsetOfLocale();

/// One character with the marks that combine with it, and the columns that it takes.
struct Cell {
  std::string bytes;
  int width = 0;
};

/// Control characters, malformed bytes and what has no width become a replacement character each; characters
/// that change the direction or join others, on whose width terminals disagree, are left out. In Ascii our
/// own drawing characters get their nearest likeness, all others a question mark. Unicode needs a UTF-8
/// locale.
std::vector<Cell> cellsOf(std::string_view text, Charset charset);

/// The columns that the text takes once it is made fit.
int columnsOf(std::string_view text, Charset charset);

/// At most so many columns of the text, an ellipsis at the end of what had to be cut.
std::vector<Cell> cellsWithin(std::string_view text, int columns, Charset charset);

}  // namespace quorlin
