/// How the desktop names its applications.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// The name in the user's language from the desktop entry of an application id, looked for in the XDG data
/// folders.
std::optional<std::string> applicationName(std::string_view applicationId);

}  // namespace quorlin
