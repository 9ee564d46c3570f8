/// What must hold whatever the input is.
#pragma once

#include <cstdlib>

/// Ends the program, which the fuzzer reports with the input.
inline void require(bool condition) {
  if (!condition) std::abort();
}
