/// The error stream, which a terminal or a journal may show.
#pragma once

#include <string_view>

namespace quorlin {

/// Writes a line that cannot drive a terminal, whatever it quotes; line ends in it become spaces, and it is
/// cut after 2000 characters. On any thread. There is nowhere to report a failure to.
void writeErrorLine(std::string_view text);

}  // namespace quorlin
