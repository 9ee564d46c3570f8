#include "helper/ChargePolicy.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

TEST(ChargeDecision, FollowsLimitLevelStateAndHold) {
  using enum ChargeDecision;
  const std::tuple<std::int64_t, std::int64_t, std::int32_t, bool, ChargeDecision> cases[] = {
      {80, 80, kCharging, false, Hold},        {80, 100, kCharging, true, Hold},
      {80, 79, kCharging, false, Nothing},     {80, 79, kCharging, true, Release},
      {80, 80, kNotCharging, true, Nothing},   {80, 80, kOnBattery, true, Release},
      {80, 80, kOnBattery, false, Nothing},    {80, 80, kNoBattery, true, Nothing},
      {80, 79, kNotCharging, false, Release},  {80, 79, kOnBattery, false, Nothing},
      {50, 50, kCharging, false, Hold},        {99, 99, kCharging, false, Hold},
      {49, 90, kCharging, false, Nothing},     {100, 100, kCharging, false, Nothing},
      {49, 90, kCharging, true, Release},      {100, 100, kNotCharging, true, Release},
      {100, 50, kNotCharging, false, Nothing}, {0, 0, kNoBattery, false, Nothing},
  };
  for (const auto& [limit, level, state, holding, decision] : cases)
    EXPECT_EQ(decideCharge(limit, level, state, holding), decision)
        << limit << " " << level << " " << state << " " << holding;
}

}  // namespace
}  // namespace quorlin
