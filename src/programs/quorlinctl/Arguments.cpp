#include "quorlinctl/Arguments.h"

#include "commands/UrlScheme.h"
#include "platform/Utf8.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

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

template <typename Integer>
std::optional<Integer> integerOf(std::string_view text, Integer least, Integer most) {
  Integer value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value >= least && value <= most ? std::optional(value) : std::nullopt;
}

bool isHelp(std::string_view argument) { return argument == "--help" || argument == "-h"; }

constexpr std::string_view kTimeout = "--timeout";

bool isTimeout(std::string_view argument) {
  return argument == kTimeout || argument.starts_with(std::string(kTimeout) + "=");
}

/// Reads the option at an index, which then is that of the option's last argument.
std::optional<UsageError> readTimeout(Arguments arguments, std::size_t& index,
                                      std::chrono::milliseconds& timeout) {
  const bool separate = arguments[index] == kTimeout;
  if (separate && ++index == arguments.size()) return UsageError{"--timeout needs a number of seconds"};
  const std::string_view value = separate ? arguments[index] : arguments[index].substr(kTimeout.size() + 1);
  const std::optional<std::chrono::milliseconds> duration = durationOf(value);
  if (!duration) return UsageError{"--timeout takes 0.001 to 86400 seconds, not " + quoted(value)};
  timeout = *duration;
  return std::nullopt;
}

using Flag = std::pair<std::string_view, bool&>;

/// Reads the options of a subcommand that takes no operand: flags, and a time-out where it has one.
std::optional<UsageError> readOptions(Arguments arguments, bool& help, std::initializer_list<Flag> flags,
                                      std::chrono::milliseconds* timeout = nullptr) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view argument = arguments[i];
    const auto* flag = std::ranges::find(flags, argument, &Flag::first);
    if (isHelp(argument)) {
      help = true;
    } else if (flag != flags.end()) {
      flag->second = true;
    } else if (timeout != nullptr && isTimeout(argument)) {
      if (auto error = readTimeout(arguments, i, *timeout)) return error;
    } else {
      return unknown(argument);
    }
  }
  return std::nullopt;
}

enum class OptionsEnd { AtTwoDashes, AtFirstOperand };

/// What is left without the options, of which there is only --help.
std::variant<std::vector<std::string_view>, UsageError> operandsOf(Arguments arguments, OptionsEnd optionsEnd,
                                                                   bool& help) {
  std::vector<std::string_view> operands;
  bool ended = false;
  for (const std::string_view argument : arguments) {
    if (!ended && argument == "--") {
      ended = true;
    } else if (!ended && isHelp(argument)) {
      help = true;
    } else if (!ended && argument.starts_with('-') && argument.size() > 1) {
      return unknown(argument);
    } else {
      operands.push_back(argument);
      ended = ended || optionsEnd == OptionsEnd::AtFirstOperand;
    }
  }
  return operands;
}

/// Parses the one operand into options whose member is set by read, which returns nothing for a bad one.
template <typename Options, typename Value>
std::variant<Options, UsageError> parseOperand(Arguments arguments, Value Options::*member,
                                               std::optional<Value> (*read)(std::string_view),
                                               const std::string& wanted) {
  Options options;
  const auto parsed = operandsOf(arguments, OptionsEnd::AtTwoDashes, options.help);
  if (const auto* error = std::get_if<UsageError>(&parsed)) return *error;
  const auto& operands = std::get<0>(parsed);
  if (options.help) return options;
  if (operands.empty()) return UsageError{wanted + " is missing"};
  if (operands.size() > 1) return UsageError{"unexpected argument " + quoted(operands[1])};
  const std::optional<Value> value = read(operands.front());
  if (!value) return UsageError{quoted(operands.front()) + " is not " + wanted};
  options.*member = *value;
  return options;
}

/// What can travel in a URL, and is there at all.
std::optional<std::string> textOf(std::string_view text) {
  return text.empty() || !isUtf8(text) ? std::nullopt : std::optional<std::string>(text);
}

}  // namespace

std::variant<WatchOptions, UsageError> parseWatchArguments(Arguments arguments) {
  WatchOptions options;
  auto error = readOptions(arguments, options.help,
                           {{"--once", options.once}, {"--json", options.json}, {"--widget", options.widget}},
                           &options.timeout);
  if (error) return *std::move(error);
  return options;
}

std::variant<NetOptions, UsageError> parseNetArguments(Arguments arguments) {
  NetOptions options;
  auto error = readOptions(arguments, options.help, {{"--json", options.json}}, &options.timeout);
  if (error) return *std::move(error);
  return options;
}

std::variant<DoctorOptions, UsageError> parseDoctorArguments(Arguments arguments) {
  DoctorOptions options;
  auto error = readOptions(arguments, options.help, {{"--json", options.json}});
  if (error) return *std::move(error);
  return options;
}

std::variant<BatteryLimitOptions, UsageError> parseBatteryLimitArguments(Arguments arguments) {
  return parseOperand<BatteryLimitOptions, int>(
      arguments, &BatteryLimitOptions::percent,
      [](std::string_view text) {
        if (text.ends_with('%')) text.remove_suffix(1);
        return integerOf(text, kLowestBatteryLimit, kHighestBatteryLimit);
      },
      "a limit of " + std::to_string(kLowestBatteryLimit) + " to " + std::to_string(kHighestBatteryLimit) +
          " percent");
}

std::variant<ProcessOptions, UsageError> parseProcessArguments(Arguments arguments) {
  return parseOperand<ProcessOptions, std::int32_t>(
      arguments, &ProcessOptions::process,
      [](std::string_view text) {
        return integerOf<std::int32_t>(text, 1, std::numeric_limits<std::int32_t>::max());
      },
      "a process id");
}

std::variant<WorkflowOptions, UsageError> parseWorkflowArguments(Arguments arguments) {
  return parseOperand<WorkflowOptions, std::string>(arguments, &WorkflowOptions::file, textOf,
                                                    "a file name in UTF-8");
}

std::variant<HelperOptions, UsageError> parseHelperArguments(Arguments arguments) {
  return parseOperand<HelperOptions, HelperAction>(
      arguments, &HelperOptions::action,
      [](std::string_view text) -> std::optional<HelperAction> {
        if (text == "install") return HelperAction::Install;
        if (text == "remove") return HelperAction::Remove;
        return std::nullopt;
      },
      "'install' or 'remove'");
}

std::variant<TerminalOptions, UsageError> parseTerminalArguments(Arguments arguments) {
  TerminalOptions options;
  const auto parsed = operandsOf(arguments, OptionsEnd::AtFirstOperand, options.help);
  if (const auto* error = std::get_if<UsageError>(&parsed)) return *error;
  for (const std::string_view operand : std::get<0>(parsed)) {
    options.command.append(options.command.empty() ? "" : " ").append(operand);
  }
  if (options.help) return options;
  if (options.command.empty()) return UsageError{"a command is missing"};
  if (!isUtf8(options.command)) return UsageError{"the command is not UTF-8"};
  return options;
}

}  // namespace quorlin
