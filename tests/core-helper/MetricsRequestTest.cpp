#include "core-helper/MetricsRequest.h"
#include "platform/Utf8.h"

#include <vector>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;

TEST(MetricsRequest, IsUnderstoodOrRefusedWithTheParameterThatIsWrong) {
  const MetricsRequest thermal = {false, false, false, true, milliseconds(500)};
  const std::pair<std::vector<std::string>, std::variant<MetricsRequest, std::string>> cases[] = {
      {{"--samplers", "cpu_power,gpu_power,ane_power,thermal", "-i", "1000"},
       MetricsRequest{true, true, true, true, milliseconds(1000)}},
      {{"-i", "10000", "--samplers", "gpu_power,cpu_power"},
       MetricsRequest{true, true, false, false, milliseconds(10000)}},
      {{"--samplers", "thermal", "-i", "500"}, thermal},
      {{"--samplers", "thermal", "-i", "0500"}, thermal},

      {{}, "\"--samplers\" is missing"},
      {{"-i", "1000"}, "\"--samplers\" is missing"},
      {{"--samplers", "thermal"}, "\"-i\" is missing"},
      {{"--samplers"}, "\"--samplers\" needs a value"},
      {{"--samplers", "thermal", "-i"}, "\"-i\" needs a value"},
      {{"--samplers", "-i", "1000"}, "\"-i\" is no sampler"},
      {{"-i", "1000", "-i", "1000"}, "\"-i\" is given twice"},
      {{"--samplers", "thermal", "--samplers", "thermal"}, "\"--samplers\" is given twice"},
      {{"--samplers", "thermal", "-i", "1000", "-n"}, "\"-n\" is no option"},
      {{"-i=1000"}, "\"-i=1000\" is no option"},
      {{"-I", "1000"}, "\"-I\" is no option"},
      {{""}, "\"\" is no option"},
      {{"-i\0"s, "1000"}, "\"-i\" is no option"},

      {{"--samplers", ""}, "\"\" is no sampler"},
      {{"--samplers", "thermal,"}, "\"\" is no sampler"},
      {{"--samplers", ",thermal"}, "\"\" is no sampler"},
      {{"--samplers", "thermal,,cpu_power"}, "\"\" is no sampler"},
      {{"--samplers", "thermal, cpu_power"}, "\"cpu_power\" is no sampler"},
      {{"--samplers", "Thermal"}, "\"Thermal\" is no sampler"},
      {{"--samplers", "cpu_power\0x"s}, "\"cpu_power x\" is no sampler"},
      {{"--samplers", "thermal,cpu_power,thermal"}, "\"thermal\" is asked for twice"},
  };
  for (const auto& [parameters, expected] : cases) {
    EXPECT_EQ(parseMetricsParameters(parameters), expected) << testing::PrintToString(parameters);
  }
}

TEST(MetricsRequest, TakesNoIntervalButAWholeNumberInRange) {
  for (const std::string& interval :
       {"499"s, "10001"s, "0"s, "-1000"s, "+1000"s, " 1000"s, "1000 "s, "500ms"s, "1e3"s, "1000.0"s, "0x3e8"s,
        ""s, "1000\0"s, "4294968296"s, "99999999999999999999"s}) {
    const std::string parameters[] = {"--samplers", "thermal", "-i", interval};
    const auto parsed = parseMetricsParameters(parameters);
    ASSERT_TRUE(std::holds_alternative<std::string>(parsed)) << interval;
    EXPECT_THAT(std::get<std::string>(parsed), testing::EndsWith("milliseconds from 500 to 10000"));
  }
}

TEST(MetricsRequest, ShowsOfAWrongParameterNoMoreThanIsSafe) {
  const std::pair<std::string, std::string> cases[] = {
      {std::string(100'000, 'x'), std::string(40, 'x')},
      {std::string(39, 'x') + "\xE2\x82\xAC", std::string(39, 'x')},
      {std::string(37, 'x') + "\xE2\x82\xAC\xE2\x82\xAC", std::string(37, 'x') + "\xE2\x82\xAC"},
      {"a\nb\x1B[31m\xFF", "a b [31m\xEF\xBF\xBD"},
      {std::string(2, '\x80'), "\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& [parameter, shown] : cases) {
    const std::string parameters[] = {parameter};
    const std::string message = std::get<std::string>(parseMetricsParameters(parameters));
    EXPECT_TRUE(isUtf8(message)) << message;
    EXPECT_LE(message.size(), 40 + std::string_view("\"\" is no option").size());
    EXPECT_EQ(message, '"' + shown + "\" is no option");
  }
}

}  // namespace
}  // namespace quorlin
