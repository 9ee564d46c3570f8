/// Foreign text, made safe for a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// The characters that the terminal can show. Ascii covers every locale other than UTF-8.
enum class Charset { Unicode, Ascii };

/// The charset of the process's locale.
Charset charsetOfLocale();

/// One character with its combining marks, and its width in columns.
struct Cell {
  std::string bytes;
  int width = 0;
};

/// Each control character, malformed byte and character without a width becomes a replacement character.
/// Characters that change the direction or join others are left out, since terminals disagree on their width.
/// In Ascii our own drawing characters become similar ASCII characters, all others a question mark. Unicode
/// needs a UTF-8 locale.
std::vector<Cell> cellsOf(std::string_view text, Charset charset);

/// The width of the text once it is safe.
int columnsOf(std::string_view text, Charset charset);

/// At most that many columns of the text; an ellipsis marks a cut.
std::vector<Cell> cellsWithin(std::string_view text, int columns, Charset charset);

/// The text as lines that end at spaces. Only a single word may be wider than the columns.
std::vector<std::string_view> linesOf(std::string_view text, int columns, Charset charset);

}  // namespace quorlin
