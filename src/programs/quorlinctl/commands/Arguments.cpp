#include "programs/quorlinctl/commands/Arguments.h"

#include "platform/values/Parsing.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr double kShortestTimeoutSeconds = 0.001;
constexpr double kLongestTimeoutSeconds = 86400;

std::optional<std::chrono::milliseconds> durationOf(std::string_view text) {
  double seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || stop != end) return std::nullopt;
  // Written so that NaN fails too.
  if (!(seconds >= kShortestTimeoutSeconds && seconds <= kLongestTimeoutSeconds)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(seconds * 1000));
}

UsageError unexpected(std::string_view argument) {
  return {fmt::format("Unexpected argument '{}'", argument)};
}

}  // namespace

Result<ParsedArguments, UsageError> parseArguments(Arguments arguments, std::span<const Option> options,
                                                   Operands operands) {
  ParsedArguments parsed;
  /// Of several values for an option the last one counts, and only that has to be a duration.
  std::map<std::string_view, std::string_view> values;
  const auto take = [&arguments] {
    const std::string_view first = arguments.front();
    arguments = arguments.subspan(1);
    return first;
  };
  while (!arguments.empty()) {
    const std::string_view argument = take();
    const bool isOperand = argument == "-" || !argument.starts_with('-');
    if (isOperand) parsed.operands.emplace_back(argument);
    if (argument == "--" || (isOperand && operands.kind == Operands::Kind::Command)) {
      parsed.operands.insert(parsed.operands.end(), arguments.begin(), arguments.end());
      break;
    }
    if (isOperand) continue;
    if (argument == "-h" || argument == "--help") {
      parsed.help = true;
      continue;
    }
    std::string_view value = argument;
    const std::string_view name = takeUntil('=', value);
    const bool hasValue = name.size() < argument.size();
    const auto option = std::ranges::find_if(
        options, [name](const Option& known) { return name == fmt::format("--{}", known.name); });
    if (option == options.end() || (option->kind == Option::Kind::Flag && hasValue)) {
      return UsageError{fmt::format("Unknown option {}", argument)};
    }
    if (option->kind == Option::Kind::Flag) {
      parsed.flags.insert(option->name);
    } else if (!hasValue && arguments.empty()) {
      return UsageError{fmt::format("Missing argument for {}", name)};
    } else {
      values[option->name] = hasValue ? value : take();
    }
  }

  for (const auto& [name, value] : values) {
    const auto duration = durationOf(value);
    if (!duration) {
      return UsageError{fmt::format("--{} takes {} to {} seconds, not '{}'", name, kShortestTimeoutSeconds,
                                    kLongestTimeoutSeconds, value)};
    }
    parsed.durations[name] = *duration;
  }
  if (parsed.help) return parsed;
  const std::vector<std::string>& given = parsed.operands;
  if (operands.kind == Operands::Kind::None && !given.empty()) return unexpected(given[0]);
  if (operands.kind == Operands::Kind::One && given.size() > 1) return unexpected(given[1]);
  if (operands.kind == Operands::Kind::One && given.empty()) {
    return UsageError{fmt::format("Missing argument {}", operands.placeholder)};
  }
  return parsed;
}

}  // namespace quorlin
