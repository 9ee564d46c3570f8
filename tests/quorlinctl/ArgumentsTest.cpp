#include "quorlinctl/Arguments.h"

#include <optional>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace quorlin {
namespace {

using std::chrono::milliseconds;

TEST(Arguments, OfWatchAreUnderstoodOrNamedInTheError) {
  const struct {
    std::vector<std::string_view> arguments;
    std::optional<WatchOptions> options;
    std::string_view named;
  } cases[] = {
      {{}, WatchOptions{}, ""},
      {{"--once", "--json", "--widget"}, WatchOptions{.once = true, .json = true, .widget = true}, ""},
      {{"--timeout", "2.5"}, WatchOptions{.timeout = milliseconds(2500)}, ""},
      {{"--timeout=1", "--help"}, WatchOptions{.help = true, .timeout = milliseconds(1000)}, ""},
      {{"--frequency"}, std::nullopt, "unknown option '--frequency'"},
      {{"--once", "now"}, std::nullopt, "unexpected argument 'now'"},
      {{""}, std::nullopt, "unexpected argument ''"},
      {{"--timeout"}, std::nullopt, "needs a number"},
      {{"--timeout", "--once"}, std::nullopt, "'--once'"},
      {{"--timeout", "0"}, std::nullopt, "'0'"},
      {{"--timeout=nan"}, std::nullopt, "'nan'"},
      {{"--timeout=inf"}, std::nullopt, "'inf'"},
      {{"--timeout=5s"}, std::nullopt, "'5s'"},
      {{"--timeout=-1"}, std::nullopt, "'-1'"},
      {{"--timeout="}, std::nullopt, "''"},
  };
  for (const auto& [arguments, options, named] : cases) {
    SCOPED_TRACE(arguments.empty() ? "" : arguments.back());
    const auto parsed = parseWatchArguments(arguments);
    if (options) {
      ASSERT_TRUE(std::holds_alternative<WatchOptions>(parsed));
      EXPECT_EQ(std::get<WatchOptions>(parsed), *options);
    } else {
      ASSERT_TRUE(std::holds_alternative<UsageError>(parsed));
      EXPECT_NE(std::get<UsageError>(parsed).message.find(named), std::string::npos)
          << std::get<UsageError>(parsed).message;
    }
  }
}

TEST(Arguments, OfDoctorKnowNoOptionOfWatch) {
  const std::vector<std::string_view> json = {"--json"};
  const std::vector<std::string_view> once = {"--once"};
  EXPECT_EQ(std::get<DoctorOptions>(parseDoctorArguments(json)), DoctorOptions{.json = true});
  EXPECT_EQ(std::get<UsageError>(parseDoctorArguments(once)).message, "unknown option '--once'");
}

/// What a parser made of its arguments: the operand, "help", or the error.
template <typename Options, typename Value>
std::string outcomeOf(std::variant<Options, UsageError> (*parse)(Arguments), Value Options::*operand,
                      const std::vector<std::string_view>& arguments) {
  const auto parsed = parse(arguments);
  if (const auto* error = std::get_if<UsageError>(&parsed)) return "error: " + error->message;
  const auto& options = std::get<Options>(parsed);
  if (options.help) return "help";
  if constexpr (std::is_same_v<Value, std::string>) {
    return options.*operand;
  } else {
    return std::to_string(static_cast<int>(options.*operand));
  }
}

using Words = std::vector<std::string_view>;

std::string batteryLimit(const Words& words) {
  return outcomeOf(parseBatteryLimitArguments, &BatteryLimitOptions::percent, words);
}
std::string process(const Words& words) {
  return outcomeOf(parseProcessArguments, &ProcessOptions::process, words);
}
std::string terminal(const Words& words) {
  return outcomeOf(parseTerminalArguments, &TerminalOptions::command, words);
}
std::string workflow(const Words& words) {
  return outcomeOf(parseWorkflowArguments, &WorkflowOptions::file, words);
}
std::string helper(const Words& words) {
  return outcomeOf(parseHelperArguments, &HelperOptions::action, words);
}

TEST(Arguments, OfCommandsAreOneOperandOrAreRefused) {
  const struct {
    std::string (*parse)(const Words&);
    Words words;
    std::string_view outcome;
  } cases[] = {
      {batteryLimit, {"51"}, "51"},
      {batteryLimit, {"--", "100"}, "100"},
      {batteryLimit, {"50"}, "error: '50' is not a limit of 51 to 100 percent"},
      {batteryLimit, {"101"}, "error: '101' is not a limit of 51 to 100 percent"},
      {batteryLimit, {"80%"}, "80"},
      {batteryLimit, {"80%%"}, "error: '80%%' is not a limit of 51 to 100 percent"},
      {batteryLimit, {"+80"}, "error: '+80' is not a limit of 51 to 100 percent"},
      {batteryLimit, {}, "error: a limit of 51 to 100 percent is missing"},
      {batteryLimit, {"80", "90"}, "error: unexpected argument '90'"},
      {batteryLimit, {"80", "--help"}, "help"},
      {batteryLimit, {"-80"}, "error: unknown option '-80'"},
      {process, {"2147483647"}, "2147483647"},
      {process, {"2147483648"}, "error: '2147483648' is not a process id"},
      {process, {"0"}, "error: '0' is not a process id"},
      {process, {""}, "error: '' is not a process id"},
      {terminal, {"ls", "-l", "--help", "--", "/tmp"}, "ls -l --help -- /tmp"},
      {terminal, {"--", "-x", "a b"}, "-x a b"},
      {terminal, {"-x"}, "error: unknown option '-x'"},
      {terminal, {"-h", "ls"}, "help"},
      {terminal, {"--"}, "error: a command is missing"},
      {terminal, {""}, "error: a command is missing"},
      {terminal, {"\xFF"}, "error: the command is not UTF-8"},
      {workflow, {"--", "-x"}, "-x"},
      {workflow, {""}, "error: '' is not a file name in UTF-8"},
      {workflow, {"a", "b"}, "error: unexpected argument 'b'"},
      {helper, {"install"}, "1"},
      {helper, {"remove"}, "2"},
      {helper, {"update"}, "error: 'update' is not 'install' or 'remove'"},
      {helper, {}, "error: 'install' or 'remove' is missing"},
  };
  for (const auto& [parse, words, outcome] : cases) EXPECT_EQ(parse(words), outcome);
}

}  // namespace
}  // namespace quorlin
