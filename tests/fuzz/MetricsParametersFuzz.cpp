/// Any texts as parameters: a request within its bounds, or a short sentence.
#include "Require.h"
#include "platform/values/Utf8.h"
#include "programs/core-helper/metrics/MetricsRequest.h"

#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quorlin;
  std::vector<std::string> parameters(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      parameters.emplace_back();
    } else {
      parameters.back() += static_cast<char>(data[i]);
    }
  }
  const Result<MetricsRequest> request = parseMetricsParameters(parameters);
  if (request) {
    require(parameters.size() == 4);
    require(request->interval.count() >= 500 && request->interval.count() <= 10000);
    require(request->processorPower || request->graphicsPower || request->neuralEnginePower ||
            request->thermal);
  } else {
    const std::string reason = request.error().text();
    require(!reason.empty() && reason.size() < 200 && isUtf8(reason));
  }
  return 0;
}
