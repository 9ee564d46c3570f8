#include "fakes/TemporaryFolder.h"
#include "platform/linux/power/PowerSources.h"
#include "platform/linux/power/SystemBatteries.h"

#include <map>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The attributes of one supply.
using Supply = std::map<std::string, std::string>;

class Machine {
 public:
  explicit Machine(const std::map<std::string, Supply>& supplies) {
    std::filesystem::create_directories(folder_.path() / "class/power_supply");
    for (const auto& [name, supply] : supplies) {
      for (const auto& [attribute, value] : supply)
        folder_.write("class/power_supply/" + name + "/" + attribute, value + "\n");
    }
  }

  std::vector<std::string> batteries() const {
    std::vector<std::string> names;
    for (const auto& battery : systemBatteries(folder_.path())) names.push_back(battery.filename());
    return names;
  }

  SysfsPowerSources sources() const { return SysfsPowerSources(folder_.path()); }

 private:
  TemporaryFolder folder_;
};

Supply battery(Supply attributes) {
  attributes["type"] = "Battery";
  return attributes;
}

TEST(SystemBatteries, AreThoseOfTheComputerItselfByTheNumbersInTheirNames) {
  const Machine machine({{"BAT10", battery({})},
                         {"BAT2", battery({{"present", "1"}})},
                         {"BAT02", battery({{"scope", "System"}})},
                         {"BAT1", battery({{"present", "0"}})},
                         {"BAT", battery({{"scope", "Unknown"}})},
                         {"macsmc-battery", battery({})},
                         {"hidpp_battery_0", battery({{"scope", "Device"}})},
                         {"AC", {{"type", "Mains"}}},
                         {"UPS", {{"type", "UPS"}}},
                         {"typeless", {{"present", "1"}}}});
  EXPECT_THAT(machine.batteries(), ElementsAre("BAT", "BAT02", "BAT2", "BAT10", "macsmc-battery"));
}

TEST(PowerSources, DescribeABatteryByTheFirstPairThatIsWhole) {
  const std::tuple<Supply, std::int32_t, std::optional<std::int32_t>> cases[] = {
      {{{"energy_full", "50"}, {"energy_now", "5"}, {"charge_full", "4"}, {"charge_now", "1"}}, 50, 5},
      {{{"energy_full", "0"}, {"energy_now", "0"}, {"charge_full", "4"}, {"charge_now", "0"}}, 4, 0},
      {{{"energy_full", "-5"}, {"energy_now", "-5"}, {"charge_full", "4"}, {"charge_now", "2"}}, 4, 2},
      {{{"energy_full", "50"}, {"charge_now", "5"}, {"capacity", "9"}}, 100, 9},
      {{{"energy_full", "2147483648"}, {"energy_now", "5"}, {"capacity", "7"}}, 100, 7},
      {{{"energy_full", "2147483647"}, {"energy_now", "5"}, {"capacity", "7"}}, 2147483647, 5},
      {{{"energy_full", "50 mWh"}, {"energy_now", "5"}, {"capacity", "7"}}, 100, 7},
      {{{"energy_full", "50"}, {"energy_now", "51"}}, 50, 50},
      {{{"capacity", "104"}}, 100, 100},
      {{{"capacity", "-1"}, {"status", "Charging"}}, 100, std::nullopt},
  };
  for (const auto& [attributes, maximum, current] : cases) {
    const auto list = Machine({{"BAT0", battery(attributes)}}).sources().copyPowerSources();
    ASSERT_TRUE(list && list->size() == 1 && list->front()) << testing::PrintToString(attributes);
    EXPECT_EQ(list->front()->maximumCapacity, maximum) << testing::PrintToString(attributes);
    EXPECT_EQ(list->front()->currentCapacity, current) << testing::PrintToString(attributes);
  }
}

TEST(PowerSources, TellWhetherABatteryCharges) {
  const std::pair<std::string, std::optional<bool>> cases[] = {
      {"Charging", true}, {"Discharging", false}, {"Not charging", false}, {"Full", false}, {"Unknown", {}}};
  for (const auto& [status, expected] : cases) {
    const Machine machine({{"BAT0", battery({{"status", status}, {"capacity", "50"}})}});
    EXPECT_EQ(machine.sources().copyPowerSources()->front()->isCharging, expected) << status;
  }
}

TEST(PowerSources, KeepThePlaceOfOneThatCannotBeReadAndAreUnknownWithoutTheClass) {
  const Machine machine({{"BAT9", battery({})}, {"BAT10", battery({{"capacity", "10"}})}});
  const auto list = machine.sources().copyPowerSources();
  ASSERT_EQ(list->size(), 2U);
  EXPECT_FALSE(list->front());
  EXPECT_EQ(list->back()->currentCapacity, 10);
  EXPECT_THAT(*Machine({}).sources().copyPowerSources(), IsEmpty());
  EXPECT_FALSE(SysfsPowerSources("/nowhere").copyPowerSources());
}

TEST(PowerSources, KnowExternalPowerByTheSuppliesAndElseByTheBatteries) {
  const Supply mainsOn = {{"type", "Mains"}, {"online", "1"}};
  const Supply mainsOff = {{"type", "Mains"}, {"online", "0"}};
  const std::tuple<const char*, std::map<std::string, Supply>, bool> cases[] = {
      {"mains", {{"AC", mainsOn}, {"BAT0", battery({{"status", "Discharging"}})}}, true},
      {"no mains", {{"AC", mainsOff}, {"BAT0", battery({{"status", "Full"}})}}, false},
      {"USB beside mains", {{"AC", mainsOff}, {"ucsi", {{"type", "USB"}, {"online", "2"}}}}, true},
      {"an older kernel", {{"usb", {{"type", "USB_PD"}, {"online", "1"}}}}, true},
      {"a charging pad", {{"pad", {{"type", "Wireless"}, {"online", "1"}}}}, true},
      {"a tablet's dock", {{"dock", {{"type", "Mains"}, {"scope", "Device"}, {"online", "1"}}}}, false},
      {"unreadable", {{"AC", {{"type", "Mains"}}}, {"BAT0", battery({{"status", "Full"}})}}, true},
      {"one in use",
       {{"BAT0", battery({{"status", "Not charging"}})}, {"BAT1", battery({{"status", "Discharging"}})}},
       false},
      {"unknown", {{"BAT0", battery({{"status", "Unknown"}})}}, false},
      {"a mouse", {{"mouse", battery({{"status", "Charging"}, {"scope", "Device"}})}}, false},
      {"nothing", {}, false},
  };
  for (const auto& [what, supplies, isExternal] : cases) {
    EXPECT_EQ(Machine(supplies).sources().timeRemainingEstimate(),
              isExternal ? PowerSources::kTimeRemainingUnlimited : PowerSources::kTimeRemainingUnknown)
        << what;
  }
}

}  // namespace
}  // namespace quorlin
