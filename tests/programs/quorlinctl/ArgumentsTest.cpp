#include "programs/quorlinctl/commands/Arguments.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

using Words = std::vector<std::string>;

/// What was made of the arguments: "help", what they say in a fixed order, or the error.
std::string outcomeOf(const Words& words, Operands operands) {
  const std::vector<Option> options = {
      {.name = "json"}, {.name = "once"}, {.name = "timeout", .kind = Option::Kind::Seconds}};
  const auto parsed = parseArguments(words, options, operands);
  if (!parsed) return parsed.error().message;
  if (parsed->help) return "help";
  std::string text;
  for (const std::string_view flag : parsed->flags) text.append(flag).append(";");
  if (const auto timeout = parsed->duration("timeout")) text += std::to_string(timeout->count()) + " ms;";
  for (const std::string& operand : parsed->operands) text += operand + ";";
  return text;
}

TEST(Arguments, AreUnderstoodOrNamedInTheError) {
  constexpr Operands none{};
  constexpr Operands one{Operands::Kind::One, "FILE"};
  constexpr Operands command{Operands::Kind::Command, "COMMAND"};
  const std::string noDuration = "--timeout takes 0.001 to 86400 seconds, not ";
  const std::tuple<Operands, Words, std::string> cases[] = {
      {none, {}, ""},
      {none, {"--once", "--json"}, "json;once;"},
      {none, {"--timeout", "2.5"}, "2500 ms;"},
      {none, {"--timeout=1", "--json", "--timeout=86400"}, "json;86400000 ms;"},
      {none, {"--timeout=1", "-h"}, "help"},
      {none, {"--help", "--json"}, "help"},
      {none, {"--frequency"}, "Unknown option --frequency"},
      {none, {"--once=0"}, "Unknown option --once=0"},
      {none, {"--help=no"}, "Unknown option --help=no"},
      {one, {"--=1"}, "Unknown option --=1"},
      {one, {"--", "--=1"}, "--=1;"},
      {none, {"--once", "now"}, "Unexpected argument 'now'"},
      {none, {""}, "Unexpected argument ''"},
      {none, {"--", "--json"}, "Unexpected argument '--json'"},
      {none, {"--timeout"}, "Missing argument for --timeout"},
      {none, {"--timeout", "--once"}, noDuration + "'--once'"},
      {none, {"--timeout", "0"}, noDuration + "'0'"},
      {none, {"--timeout=nan"}, noDuration + "'nan'"},
      {none, {"--timeout=inf"}, noDuration + "'inf'"},
      {none, {"--timeout=5s"}, noDuration + "'5s'"},
      {none, {"--timeout="}, noDuration + "''"},
      {one, {"a b"}, "a b;"},
      {one, {"\xFF"}, "\xFF;"},
      {one, {"--", "-x"}, "-x;"},
      {one, {"-x"}, "Unknown option -x"},
      {one, {"-80"}, "Unknown option -80"},
      {one, {}, "Missing argument FILE"},
      {one, {"80", "90"}, "Unexpected argument '90'"},
      {one, {"80", "--json", "--help"}, "help"},
      {one, {"--help", "1", "2"}, "help"},
      {command, {}, ""},
      {command, {"--json", "ls", "-l", "--help", "--", "/tmp"}, "json;ls;-l;--help;--;/tmp;"},
      {command, {"--", "-x", "a b"}, "-x;a b;"},
      {command, {"-x"}, "Unknown option -x"},
      {command, {"ls", "--color=auto"}, "ls;--color=auto;"},
      {command, {"-h", "ls"}, "help"},
  };
  for (const auto& [operands, words, outcome] : cases) EXPECT_EQ(outcomeOf(words, operands), outcome);
}

}  // namespace
}  // namespace quorlin
