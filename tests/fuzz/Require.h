/// Conditions that must hold for every input.
#pragma once

#include <cstdlib>

/// Ends the program, which the fuzzer reports with the input.
inline void require(bool condition) {
  if (!condition) std::abort();
}
