#include "core-helper/MetricsRequest.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

TEST(MetricsRequest, RefusesEmptyParameters) {
  EXPECT_TRUE(std::holds_alternative<std::string>(parseMetricsParameters({})));
}

}  // namespace
}  // namespace quorlin
