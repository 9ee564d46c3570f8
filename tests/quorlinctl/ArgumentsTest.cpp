#include "quorlinctl/Arguments.h"

#include <optional>
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

}  // namespace
}  // namespace quorlin
