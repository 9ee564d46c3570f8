#include "platform/linux/processes/ApplicationId.h"

#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"

#include <algorithm>

namespace quorlin {
namespace {

constexpr std::string_view kPrefix = "app-";

/// Undoes systemd-escape(1): \xNN is one byte, any other character is itself.
std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const bool isEscape = text.size() >= 4 && text.starts_with("\\x");
    const auto byte = isEscape ? wholeNumber<unsigned char, 16>(text.substr(2, 2)) : std::nullopt;
    const bool isByte = byte.value_or(0) != 0;
    result += isByte ? static_cast<char>(*byte) : text.front();
    text.remove_prefix(isByte ? 4 : 1);
  }
  return result;
}

/// A service may end in its id or in a random part; only the latter is a number, and an id has a dot.
bool isRandomPart(std::string_view piece) {
  return !piece.empty() && std::ranges::all_of(piece, [](char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
  });
}

}  // namespace

std::optional<std::string> applicationIdOfUnit(std::string_view unit) {
  if (!unit.starts_with(kPrefix)) return std::nullopt;
  const bool isScope = unit.ends_with(".scope");
  if (!isScope && !unit.ends_with(".service")) return std::nullopt;
  std::string_view name = unit.substr(kPrefix.size());
  name = name.substr(0, name.rfind('.'));
  const std::size_t at = name.rfind('@');
  const std::size_t dash = name.rfind('-');
  if (at != std::string_view::npos) {
    name = name.substr(0, at);
  } else if (dash != std::string_view::npos && (isScope || isRandomPart(name.substr(dash + 1)))) {
    name = name.substr(0, dash);
  }
  // The id remains, or a launcher and the id. An id's own dashes are escaped.
  if (std::ranges::count(name, '-') > 1) return std::nullopt;
  std::string id = unescaped(name.substr(name.find('-') + 1));
  if (id.empty()) return std::nullopt;
  return isUtf8(id) ? std::optional(std::move(id)) : std::nullopt;
}

std::optional<std::string> applicationIdOfControlGroups(std::string_view controlGroups) {
  // Most processes belong to no application; this test spares them the parsing.
  if (controlGroups.find("/app-") == std::string_view::npos) return std::nullopt;
  while (!controlGroups.empty()) {
    // HIERARCHY:CONTROLLERS:PATH; units are named in systemd's own hierarchy alone, which is the second
    // version's or, on older systems, name=systemd.
    std::string_view path = takeUntil('\n', controlGroups);
    takeUntil(':', path);
    const std::string_view controllers = takeUntil(':', path);
    if (!controllers.empty() && controllers != "name=systemd") continue;
    for (std::size_t slash = path.rfind('/'); slash != std::string_view::npos; slash = path.rfind('/')) {
      if (std::optional<std::string> id = applicationIdOfUnit(path.substr(slash + 1))) return id;
      path = path.substr(0, slash);
    }
  }
  return std::nullopt;
}

}  // namespace quorlin
