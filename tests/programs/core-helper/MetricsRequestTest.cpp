#include "programs/core-helper/metrics/MetricsRequest.h"

#include <vector>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;

TEST(MetricsRequest, IsUnderstoodOrRefusedWithTheParameterThatIsWrong) {
  const MetricsRequest thermal = {false, false, false, true, milliseconds(500)};
  const std::pair<std::vector<std::string>, MetricsRequest> understood[] = {
      {{"--samplers", "cpu_power,gpu_power,ane_power,thermal", "-i", "1000"},
       MetricsRequest{true, true, true, true, milliseconds(1000)}},
      {{"-i", "10000", "--samplers", "gpu_power,cpu_power"},
       MetricsRequest{true, true, false, false, milliseconds(10000)}},
      {{"--samplers", "thermal", "-i", "500"}, thermal},
      {{"--samplers", "thermal", "-i", "0500"}, thermal},
  };
  for (const auto& [parameters, expected] : understood) {
    EXPECT_EQ(parseMetricsParameters(parameters).value_or({}), expected)
        << testing::PrintToString(parameters);
  }
  const std::pair<std::vector<std::string>, std::string> refused[] = {
      {{}, "\"--samplers\" is missing"},
      {{"-i", "1000"}, "\"--samplers\" is missing"},
      {{"--samplers", "thermal"}, "\"-i\" is missing"},
      {{"--samplers"}, "\"--samplers\" needs a value"},
      {{"--samplers", "thermal", "-i"}, "\"-i\" needs a value"},
      {{"--samplers", "-i", "1000"}, "\"-i\" is not a sampler"},
      {{"-i", "1000", "-i", "1000"}, "\"-i\" is given twice"},
      {{"--samplers", "thermal", "--samplers", "thermal"}, "\"--samplers\" is given twice"},
      {{"--samplers", "thermal", "-i", "1000", "-n"}, "\"-n\" is not an option"},
      {{"-i=1000"}, "\"-i=1000\" is not an option"},
      {{"-I", "1000"}, "\"-I\" is not an option"},
      {{""}, "\"\" is not an option"},
      {{"-i\0"s, "1000"}, "\"-i\" is not an option"},

      {{"--samplers", ""}, "\"\" is not a sampler"},
      {{"--samplers", "thermal,"}, "\"\" is not a sampler"},
      {{"--samplers", ",thermal"}, "\"\" is not a sampler"},
      {{"--samplers", "thermal,,cpu_power"}, "\"\" is not a sampler"},
      {{"--samplers", "thermal, cpu_power"}, "\"cpu_power\" is not a sampler"},
      {{"--samplers", "Thermal"}, "\"Thermal\" is not a sampler"},
      {{"--samplers", "cpu_power\0x"s}, "\"cpu_power x\" is not a sampler"},
      {{"--samplers", "thermal,cpu_power,thermal"}, "\"thermal\" is given twice"},
  };
  for (const auto& [parameters, text] : refused) {
    const Result<MetricsRequest> request = parseMetricsParameters(parameters);
    ASSERT_FALSE(request) << testing::PrintToString(parameters);
    EXPECT_EQ(request.error().text(), text);
  }
}

TEST(MetricsRequest, TakesNoIntervalButAWholeNumberInRange) {
  for (const std::string& interval :
       {"499"s, "10001"s, "0"s, "-1000"s, "+1000"s, " 1000"s, "1000 "s, "500ms"s, "1e3"s, "1000.0"s, "0x3e8"s,
        ""s, "1000\0"s, "4294968296"s, "99999999999999999999"s}) {
    const std::string parameters[] = {"--samplers", "thermal", "-i", interval};
    const Result<MetricsRequest> request = parseMetricsParameters(parameters);
    ASSERT_FALSE(request) << interval;
    EXPECT_THAT(request.error().text(),
                testing::EndsWith("is not an interval from 500 to 10000 milliseconds"));
  }
}

TEST(MetricsRequest, ShowsOfAWrongParameterNoMoreThanIsSafe) {
  const std::pair<std::string, std::string> cases[] = {
      {std::string(100'000, 'x'), std::string(40, 'x') + "…"},
      {std::string(39, 'x') + "€", std::string(39, 'x') + "€"},
      {std::string(39, 'x') + "€€", std::string(39, 'x') + "€…"},
      {"a\nb\x1B[31m\xFF", "a b [31m\xEF\xBF\xBD"},
      {std::string(2, '\x80'), "\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& [parameter, shown] : cases) {
    const std::string parameters[] = {parameter};
    const std::string message = parseMetricsParameters(parameters).error().text();
    EXPECT_EQ(message, '"' + shown + "\" is not an option");
  }
}

}  // namespace
}  // namespace quorlin
