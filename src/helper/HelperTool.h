/// The root helper's public name.
#pragma once

#include <string_view>

namespace quorlin {

/// The name of its service, by which it is installed and reached.
inline constexpr std::string_view kHelperLabel = "com.brellwick.Quorlin-Core-Helper";

}  // namespace quorlin
