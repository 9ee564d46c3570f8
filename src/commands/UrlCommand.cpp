#include "commands/UrlCommand.h"

#include "commands/PercentEncoding.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <vector>

namespace quorlin {
namespace {

constexpr std::size_t kPiecesWithArgument = 5;

/// At most one piece more than a URL with an argument has, however long the text.
std::vector<std::string_view> split(std::string_view url) {
  std::vector<std::string_view> pieces;
  while (pieces.size() < kPiecesWithArgument) {
    const std::size_t slash = url.find('/');
    pieces.push_back(url.substr(0, slash));
    if (slash == std::string_view::npos) return pieces;
    url.remove_prefix(slash + 1);
  }
  pieces.push_back(url);
  return pieces;
}

/// White space, a sign and digits, up to the first other character; 0 without digits. A number out
/// of range becomes the nearest value of the type.
template <typename Integer>
Integer leadingInteger(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  // A second sign is not a digit.
  if (text.starts_with('-')) return 0;
  // Read with its sign, so that the most negative value fits too.
  const std::string digits = (negative ? "-" : "") + std::string(text);
  Integer value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc::result_out_of_range) return value;
  return negative ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
}

}  // namespace

std::optional<UrlCommand> urlCommand(std::string_view url, const std::optional<std::string>& expectedKey) {
  const std::vector<std::string_view> pieces = split(url);
  if (pieces.size() < 4) return std::nullopt;
  if (expectedKey && pieces[2] != *expectedKey) return std::nullopt;
  // An argument with an unescaped slash counts as absent.
  return UrlCommand{.word = pieces[3],
                    .argument = pieces.size() == kPiecesWithArgument ? pieces[4] : std::string_view()};
}

std::optional<std::int32_t> processIdArgument(std::string_view argument) {
  const auto processId = leadingInteger<std::int32_t>(argument);
  return processId > 0 ? std::optional(processId) : std::nullopt;
}

std::optional<std::int64_t> numberArgument(std::string_view argument) {
  return argument.empty() ? std::nullopt : std::optional(leadingInteger<std::int64_t>(argument));
}

std::optional<std::string> textArgument(std::string_view argument) {
  return argument.empty() ? std::nullopt : percentDecoded(argument);
}

}  // namespace quorlin
