#include "quorlinctl/Arguments.h"

#include <vector>

#include <gtest/gtest.h>

namespace quorlin {
namespace {

using Words = std::vector<std::string_view>;

std::string textOf(const WatchOptions& options) {
  return std::string(options.once ? "once " : "") + (options.json ? "json " : "") +
         (options.widget ? "widget " : "") + std::to_string(options.timeout.count());
}
std::string textOf(const NetOptions& options) {
  return (options.json ? "json " : "") + std::to_string(options.timeout.count());
}
std::string textOf(const DoctorOptions& options) { return options.json ? "json" : ""; }
std::string textOf(const BatteryLimitOptions& options) { return std::to_string(options.percent); }
std::string textOf(const ProcessOptions& options) { return std::to_string(options.process); }
std::string textOf(const TerminalOptions& options) { return options.command; }
std::string textOf(const WorkflowOptions& options) { return options.file; }
std::string textOf(const HelperOptions& options) { return std::to_string(static_cast<int>(options.action)); }

/// What a parser made of its arguments: "help", the options as text, or the error.
template <auto parse>
std::string outcomeOf(const Words& words) {
  const auto parsed = parse(words);
  if (const auto* error = std::get_if<UsageError>(&parsed)) return "error: " + error->message;
  const auto& options = std::get<0>(parsed);
  return options.help ? "help" : textOf(options);
}

TEST(Arguments, AreUnderstoodOrNamedInTheError) {
  constexpr auto watch = outcomeOf<parseWatchArguments>;
  constexpr auto net = outcomeOf<parseNetArguments>;
  constexpr auto doctor = outcomeOf<parseDoctorArguments>;
  constexpr auto batteryLimit = outcomeOf<parseBatteryLimitArguments>;
  constexpr auto process = outcomeOf<parseProcessArguments>;
  constexpr auto terminal = outcomeOf<parseTerminalArguments>;
  constexpr auto workflow = outcomeOf<parseWorkflowArguments>;
  constexpr auto helper = outcomeOf<parseHelperArguments>;
  const std::string noDuration = "error: --timeout takes 0.001 to 86400 seconds, not ";
  const std::tuple<std::string (*)(const Words&), Words, std::string> cases[] = {
      {watch, {}, "15000"},
      {watch, {"--once", "--json", "--widget"}, "once json widget 15000"},
      {watch, {"--timeout", "2.5"}, "2500"},
      {watch, {"--timeout=1", "-h"}, "help"},
      {net, {"--json", "--timeout=3"}, "json 3000"},
      {net, {}, "15000"},
      {net, {"--json", "-h"}, "help"},
      {net, {"--once"}, "error: unknown option '--once'"},
      {watch, {"--frequency"}, "error: unknown option '--frequency'"},
      {watch, {"--once", "now"}, "error: unexpected argument 'now'"},
      {watch, {""}, "error: unexpected argument ''"},
      {watch, {"--timeout"}, "error: --timeout needs a number of seconds"},
      {watch, {"--timeout", "--once"}, noDuration + "'--once'"},
      {watch, {"--timeout", "0"}, noDuration + "'0'"},
      {watch, {"--timeout=nan"}, noDuration + "'nan'"},
      {watch, {"--timeout=inf"}, noDuration + "'inf'"},
      {watch, {"--timeout=5s"}, noDuration + "'5s'"},
      {watch, {"--timeout="}, noDuration + "''"},
      {doctor, {"--json"}, "json"},
      {doctor, {"--once"}, "error: unknown option '--once'"},
      {batteryLimit, {"51"}, "51"},
      {batteryLimit, {"--", "100%"}, "100"},
      {batteryLimit, {"50"}, "error: '50' is not a limit of 51 to 100 percent"},
      {batteryLimit, {"101%"}, "error: '101%' is not a limit of 51 to 100 percent"},
      {batteryLimit, {"80%%"}, "error: '80%%' is not a limit of 51 to 100 percent"},
      {batteryLimit, {"+80"}, "error: '+80' is not a limit of 51 to 100 percent"},
      {batteryLimit, {}, "error: a limit of 51 to 100 percent is missing"},
      {batteryLimit, {"80", "90"}, "error: unexpected argument '90'"},
      {batteryLimit, {"80", "--help"}, "help"},
      {batteryLimit, {"-80"}, "error: unknown option '-80'"},
      {process, {"2147483647"}, "2147483647"},
      {process, {"2147483648"}, "error: '2147483648' is not a process id"},
      {process, {"0"}, "error: '0' is not a process id"},
      {terminal, {"ls", "-l", "--help", "--", "/tmp"}, "ls -l --help -- /tmp"},
      {terminal, {"--", "-x", "a b"}, "-x a b"},
      {terminal, {"-x"}, "error: unknown option '-x'"},
      {terminal, {"-h", "ls"}, "help"},
      {terminal, {"--", ""}, "error: a command is missing"},
      {terminal, {"\xFF"}, "error: the command is not UTF-8"},
      {workflow, {"--", "-x"}, "-x"},
      {workflow, {""}, "error: '' is not a file name in UTF-8"},
      {helper, {"install"}, "1"},
      {helper, {"remove"}, "2"},
      {helper, {"update"}, "error: 'update' is not 'install' or 'remove'"},
  };
  for (const auto& [parse, words, outcome] : cases) EXPECT_EQ(parse(words), outcome);
}

}  // namespace
}  // namespace quorlin
