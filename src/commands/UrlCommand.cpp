#include "commands/UrlCommand.h"

#include "commands/PercentEncoding.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace quorlin {
namespace {

/// White space, a sign and digits, up to the first other character; 0 without digits. A number out
/// of range becomes the nearest value of the type.
template <typename Integer>
Integer leadingInteger(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  // from_chars() takes a minus but no plus. A second sign is not a digit.
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Integer value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc::result_out_of_range) return value;
  return text.starts_with('-') ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
}

}  // namespace

std::optional<UrlCommand> urlCommand(std::string_view url, const std::optional<std::string>& expectedKey) {
  if (std::ranges::count(url, '/') < 3) return std::nullopt;
  takeUntil('/', url);
  takeUntil('/', url);
  const std::string_view key = takeUntil('/', url);
  if (expectedKey && key != *expectedKey) return std::nullopt;
  const std::string_view word = takeUntil('/', url);
  // An argument with an unescaped slash counts as absent.
  const bool hasSlash = url.find('/') != std::string_view::npos;
  return UrlCommand{.word = word, .argument = hasSlash ? std::string_view() : url};
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
