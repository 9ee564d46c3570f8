/// What a library of C hands out, owned.
#pragma once

#include <memory>

namespace quorlin {

/// Frees with the library's own function.
template <auto function>
struct FreedBy {
  void operator()(auto* handle) const { function(handle); }
};

template <typename T, auto function>
using Owned = std::unique_ptr<T, FreedBy<function>>;

}  // namespace quorlin
