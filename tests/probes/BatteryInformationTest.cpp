#include "probes/BatteryInformation.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

TEST(BatteryInformation, CondensesTheFirstSource) {
  constexpr double unlimited = PowerSources::kTimeRemainingUnlimited;
  using Source = PowerSourceDescription;
  const std::tuple<std::optional<PowerSourceList>, double, std::vector<std::int32_t>> cases[] = {
      {std::nullopt, unlimited, {0, 0}},
      {PowerSourceList{}, unlimited, {0, 0}},
      {PowerSourceList{std::nullopt, Source{100, 50, true}}, unlimited, {0, 0}},
      {PowerSourceList{Source{100, 50, false}}, -1.0, {1, 50}},
      {PowerSourceList{Source{100, 50, true}}, 3600.0, {1, 50}},
      {PowerSourceList{Source{100, 50, true}}, unlimited, {2, 50}},
      {PowerSourceList{Source{100, 50, false}}, unlimited, {3, 50}},
      {PowerSourceList{Source{100, 50, std::nullopt}}, unlimited, {2, 50}},
      {PowerSourceList{Source{100, 50, true}}, -2.0000001, {1, 50}},
      {PowerSourceList{Source{5000, 4999, true}}, unlimited, {2, 99}},
      {PowerSourceList{Source{100, 101, true}}, unlimited, {2, 0}},
      {PowerSourceList{Source{1000, 9, true}}, unlimited, {2, 0}},
      {PowerSourceList{Source{0, 50, true}}, unlimited, {2, 0}},
      {PowerSourceList{Source{-100, -50, true}}, -1.0, {1, 0}},
      {PowerSourceList{Source{1, 2147483647, true}}, -1.0, {1, 0}},
      {PowerSourceList{Source{100, std::nullopt, false}}, -1.0, {1, 0}},
      {PowerSourceList{Source{std::nullopt, 50, false}}, -1.0, {0, 0}},
      {PowerSourceList{Source{std::nullopt, std::nullopt, false}}, unlimited, {3, 0}},
      {PowerSourceList{Source{100, 70, false}, Source{100, 20, true}}, -1.0, {1, 70}},
  };
  for (const auto& [sources, estimate, info] : cases)
    EXPECT_EQ(batteryInfo(sources, estimate), info) << "estimated at " << estimate;
}

}  // namespace
}  // namespace quorlin
