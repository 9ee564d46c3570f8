#include "quorlinctl/Arguments.h"

#include <charconv>
#include <optional>

namespace quorlin {
namespace {

constexpr double kLongestTimeoutSeconds = 86400;

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

UsageError unknown(std::string_view argument) {
  const bool option = argument.starts_with('-') && argument.size() > 1;
  return {(option ? "unknown option " : "unexpected argument ") + quoted(argument)};
}

std::optional<std::chrono::milliseconds> durationOf(std::string_view text) {
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  // Written so that NaN fails too.
  if (!(seconds >= 0.001 && seconds <= kLongestTimeoutSeconds)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(seconds * 1000));
}

}  // namespace

std::variant<WatchOptions, UsageError> parseWatchArguments(Arguments arguments) {
  constexpr std::string_view timeout = "--timeout";
  WatchOptions options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--once") {
      options.once = true;
    } else if (argument == "--json") {
      options.json = true;
    } else if (argument == "--widget") {
      options.widget = true;
    } else if (argument == timeout || argument.starts_with("--timeout=")) {
      const bool separate = argument == timeout;
      if (separate && ++i == arguments.size()) return UsageError{"--timeout needs a number of seconds"};
      const std::string_view value = separate ? arguments[i] : argument.substr(timeout.size() + 1);
      const std::optional<std::chrono::milliseconds> duration = durationOf(value);
      if (!duration) return UsageError{"--timeout takes 0.001 to 86400 seconds, not " + quoted(value)};
      options.timeout = *duration;
    } else {
      return unknown(argument);
    }
  }
  return options;
}

std::variant<DoctorOptions, UsageError> parseDoctorArguments(Arguments arguments) {
  DoctorOptions options;
  for (const std::string_view argument : arguments) {
    if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--json") {
      options.json = true;
    } else {
      return unknown(argument);
    }
  }
  return options;
}

}  // namespace quorlin
