/// The cost of collecting the output of a child process.
#pragma once

#include <string_view>

namespace quorlin::bench {

/// Beside loops of blocking read(), and what it takes in memory.
void benchChildOutput();

/// What this program does as a child of benchChildOutput(), which it tells by an argument. False when it is
/// none.
bool actAsChild(std::string_view argument);

}  // namespace quorlin::bench
