#include "platform/linux/processes/ApplicationId.h"

#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"

#include <algorithm>
#include <vector>

namespace quorlin {
namespace {

constexpr std::string_view kPrefix = "app-";

/// Undoes systemd-escape(1): \xNN is one byte, any other character is itself.
std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const bool isEscape = text.size() >= 4 && text.starts_with("\\x");
    const auto byte = isEscape ? wholeNumber<unsigned char>(text.substr(2, 2), 16) : std::nullopt;
    const bool isByte = byte.value_or(0) != 0;
    result += isByte ? static_cast<char>(*byte) : text.front();
    text.remove_prefix(isByte ? 4 : 1);
  }
  return result;
}

std::vector<std::string_view> splitAtDashes(std::string_view text) {
  std::vector<std::string_view> pieces;
  while (true) {
    const std::size_t end = text.find('-');
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
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
  std::string_view name = unit.substr(kPrefix.size());
  bool hasRandomPart = false;
  if (name.ends_with(".scope")) {
    name.remove_suffix(std::string_view(".scope").size());
    hasRandomPart = true;
  } else if (name.ends_with(".service")) {
    name.remove_suffix(std::string_view(".service").size());
  } else {
    return std::nullopt;
  }
  const std::size_t at = name.rfind('@');
  const bool isInstance = at != std::string_view::npos;
  if (isInstance) name = name.substr(0, at);

  std::vector<std::string_view> pieces = splitAtDashes(name);
  if (!isInstance && pieces.size() > 1 && (hasRandomPart || isRandomPart(pieces.back()))) pieces.pop_back();
  // The id remains, or a launcher and the id. An id's own dashes are escaped.
  if (pieces.size() > 2 || pieces.back().empty()) return std::nullopt;
  std::string id = unescaped(pieces.back());
  return isUtf8(id) ? std::optional(std::move(id)) : std::nullopt;
}

std::optional<std::string> applicationIdOfControlGroups(std::string_view controlGroups) {
  // Most processes belong to no application; this test spares them the parsing.
  if (controlGroups.find("/app-") == std::string_view::npos) return std::nullopt;
  while (!controlGroups.empty()) {
    const std::string_view line = takeUntil('\n', controlGroups);
    // HIERARCHY:CONTROLLERS:PATH; units are named in systemd's own hierarchy alone, which is the second
    // version's or, on older systems, name=systemd.
    const std::size_t first = line.find(':');
    const std::size_t second = line.find(':', first == std::string_view::npos ? first : first + 1);
    if (second == std::string_view::npos) continue;
    const std::string_view controllers = line.substr(first + 1, second - first - 1);
    if (!controllers.empty() && controllers != "name=systemd") continue;
    std::string_view path = line.substr(second + 1);
    while (!path.empty()) {
      const std::size_t slash = path.rfind('/');
      if (slash == std::string_view::npos) break;
      if (std::optional<std::string> id = applicationIdOfUnit(path.substr(slash + 1))) return id;
      path = path.substr(0, slash);
    }
  }
  return std::nullopt;
}

}  // namespace quorlin
