/// A URL of the agent's scheme taken to pieces: SCHEME://KEY/COMMAND/ARGUMENT.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

/// Views of the URL.
struct UrlCommand {
  std::string_view word;
  /// Not decoded; may be empty.
  std::string_view argument;

  friend bool operator==(const UrlCommand&, const UrlCommand&) = default;
};

/// The command in a URL that carries the expected key; nothing for any other text. Without an expected key,
/// on a computer without a name, every key is accepted.
std::optional<UrlCommand> urlCommand(std::string_view url, const std::optional<std::string>& expectedKey);

/// Forms of an argument. Each returns nothing if the argument does not fit. Numbers are read
/// from white space, a sign and digits, up to the first other character; a number out of range becomes
/// the nearest value of its type.

/// A number above 0.
std::optional<std::int32_t> processIdArgument(std::string_view argument);

/// Any number; 0 without digits, but nothing for an empty argument.
std::optional<std::int64_t> numberArgument(std::string_view argument);

/// Percent-encoded UTF-8, decoded; not empty.
std::optional<std::string> textArgument(std::string_view argument);

}  // namespace quorlin
