#include "core-helper/ChargeControl.h"
#include "core-helper/HeldCharge.h"
#include "core-helper/PretendDriver.h"
#include "fakes/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kEnd = "BAT0/charge_control_end_threshold";
const std::string kStart = "BAT0/charge_control_start_threshold";
const std::string kBehaviour = "BAT0/charge_behaviour";

class ChargeControlTest : public testing::Test {
 protected:
  void addBattery(const std::string& name, const std::map<std::string, std::string>& attributes) {
    driver_.set(name + "/type", "Battery");
    for (const auto& [attribute, value] : attributes) driver_.set(name + "/" + attribute, value);
  }

  void addThresholds(const std::string& name, const std::string& capacity, const std::string& start) {
    addBattery(name, {{"capacity", capacity},
                      {"charge_control_end_threshold", "100"},
                      {"charge_control_start_threshold", start}});
  }

  /// Changes the word in brackets, as the kernel shows a choice.
  void addBehaviour(const std::string& name, const std::string& chosen = "auto") {
    const auto show = [](const std::string& value) {
      std::string text = " auto inhibit-charge force-discharge";
      return text.replace(text.find(" " + value), value.size() + 1, " [" + value + "]").substr(1);
    };
    addBattery(name, {{"charge_behaviour", show(chosen)}});
    driver_.stores[name + "/charge_behaviour"] = [this, name, show](const std::string& value) {
      driver_.set(name + "/charge_behaviour", show(value));
      return 0;
    };
  }

  std::string read(const std::string& attribute) const {
    const std::string text = folder_.read("sys/class/power_supply/" + attribute);
    return text.substr(0, text.find('\n'));
  }

  /// A new one each time: what is held is known from the file alone.
  ChargeControl control() const { return {root_ / "sys", state_}; }
  std::string held() const { return folder_.read("state/held-charge"); }

  TemporaryFolder folder_;
  std::filesystem::path root_ = std::filesystem::canonical(folder_.path());
  std::filesystem::path state_ = root_ / "state/held-charge";
  PretendDriver driver_{root_ / "sys/class/power_supply"};
};

TEST_F(ChargeControlTest, HoldsAtTheChargeAndPutsBackWhatItFound) {
  addThresholds("BAT0", "63", "95");
  std::vector<std::string> writtenDownBefore;
  for (const std::string& attribute : {kEnd, kStart}) {
    driver_.stores[attribute] = [this, attribute, &writtenDownBefore](const std::string& value) {
      writtenDownBefore.push_back(held());
      driver_.set(attribute, value);
      return 0;
    };
  }
  EXPECT_FALSE(control().hasHeld());
  const ChargeOutcome outcome = control().hold();
  EXPECT_TRUE(outcome.holding);
  EXPECT_EQ(outcome.text, "BAT0: charging is held at 63 % (charge_control_end_threshold)");
  EXPECT_THAT(driver_.writes, ElementsAre(kStart + " 58", kEnd + " 63"));
  const std::string lines = "BAT0 charge_control_end_threshold 100\nBAT0 charge_control_start_threshold 95\n";
  EXPECT_THAT(writtenDownBefore, ElementsAre(lines, lines));
  EXPECT_TRUE(control().hasHeld());
  struct stat status {};
  ASSERT_EQ(stat(state_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  ASSERT_EQ(stat(state_.parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);

  driver_.writes.clear();
  const ChargeOutcome released = control().release();
  EXPECT_FALSE(released.holding);
  EXPECT_EQ(released.text, "BAT0: charging as before");
  EXPECT_THAT(driver_.writes, ElementsAre(kEnd + " 100", kStart + " 95"));
  EXPECT_TRUE(std::filesystem::is_empty(state_.parent_path()));
  EXPECT_FALSE(control().hasHeld());
}

TEST_F(ChargeControlTest, InhibitsChargingWhereTheDriverOffersIt) {
  addThresholds("BAT0", "63", "95");
  addBehaviour("BAT0", "force-discharge");
  const ChargeOutcome outcome = control().hold();
  EXPECT_TRUE(outcome.holding);
  EXPECT_EQ(outcome.text, "BAT0: charging is held (charge_behaviour inhibit-charge)");
  EXPECT_THAT(driver_.writes, ElementsAre(kBehaviour + " inhibit-charge"));
  EXPECT_EQ(held(), "BAT0 charge_behaviour force-discharge\n");
  folder_.write("state/held-charge", held() + "another line\n");
  EXPECT_EQ(control().hold().text, outcome.text);
  EXPECT_EQ(driver_.writes.size(), 1U) << "it is held already";
  EXPECT_THAT(held(), HasSubstr("another line")) << "nor is the file written again";

  EXPECT_EQ(control().release().text, "BAT0: charging as before");
  EXPECT_EQ(read(kBehaviour), "auto inhibit-charge [force-discharge]");
}

/// What a firmware makes of an end of charging.
struct Firmware {
  const char* what;
  int capacity;
  /// The end that it keeps, or the negative error with which it fails.
  int (*end)(int wanted);
  const char* text;
  int endsAt;
};

TEST_F(ChargeControlTest, TellsWhatTheFirmwareMadeOfIt) {
  const Firmware firmwares[] = {
      {"knows steps", 85, [](int end) { return end == 80 || end == 100 ? end : -EINVAL; },
       "charging is held at 80 % (charge_control_end_threshold)", 80},
      {"knows no step below", 63, [](int end) { return end == 80 || end == 100 ? end : -EINVAL; },
       "the firmware keeps charge_control_end_threshold at 100; 63 was asked for", 100},
      {"rounds down", 63, [](int end) { return end / 10 * 10; },
       "charging is held at 60 % (charge_control_end_threshold)", 60},
      {"rounds up", 63, [](int end) { return (end + 4) / 5 * 5; },
       "charging is held at 60 % (charge_control_end_threshold)", 60},
      {"has a least end", 40, [](int end) { return std::max(end, 55); },
       "the firmware keeps charge_control_end_threshold at 55; 40 was asked for", 100},
      {"ignores it", 63, [](int) { return 100; },
       "the firmware keeps charge_control_end_threshold at 100; 63 was asked for", 100},
      {"means no threshold", 63, [](int end) { return end < 80 ? 0 : end; },
       "the firmware keeps charge_control_end_threshold at 0; 63 was asked for", 100},
      {"is read only", 63, [](int) { return -EROFS; },
       "charge_control_end_threshold cannot be set to 63: Read-only file system", 100},
      {"has gone", 63, [](int) { return -ENODEV; },
       "charge_control_end_threshold cannot be set to 63: No such device", 100},
      {"is empty", 0, [](int end) { return end; }, "charging is held at 1 % (charge_control_end_threshold)",
       1},
      {"is more than full", 104, [](int end) { return end; },
       "charging is held at 100 % (charge_control_end_threshold)", 100},
  };
  for (const Firmware& firmware : firmwares) {
    SCOPED_TRACE(firmware.what);
    addThresholds("BAT0", std::to_string(firmware.capacity), "0");
    driver_.stores[kEnd] = [&](const std::string& value) {
      const int end = firmware.end(std::stoi(value));
      if (end >= 0) driver_.set(kEnd, std::to_string(end));
      return end < 0 ? -end : 0;
    };
    const ChargeOutcome outcome = control().hold();
    EXPECT_EQ(outcome.text, std::string("BAT0: ") + firmware.text);
    EXPECT_EQ(read(kEnd), std::to_string(firmware.endsAt)) << "what does not hold is undone";
    EXPECT_EQ(outcome.holding, outcome.text.find("is held") != std::string::npos);
    EXPECT_EQ(control().hasHeld(), firmware.endsAt != 100);
    control().release();
    EXPECT_EQ(read(kEnd), "100");
    EXPECT_FALSE(std::filesystem::exists(state_));
  }
}

TEST_F(ChargeControlTest, KeepsTheStartBelowTheEndAtEveryMoment) {
  addThresholds("BAT0", "63", "75");
  const auto keepsOrder = [this](const std::string& attribute, const std::string& other, int sign) {
    driver_.stores[attribute] = [=, this](const std::string& value) {
      if ((std::stoi(read(other)) - std::stoi(value)) * sign <= 0) return EINVAL;
      driver_.set(attribute, value);
      return 0;
    };
  };
  keepsOrder(kStart, kEnd, 1);
  keepsOrder(kEnd, kStart, -1);
  EXPECT_TRUE(control().hold().holding);
  EXPECT_FALSE(control().release().holding);
  EXPECT_EQ(read(kEnd) + " " + read(kStart), "100 75");

  // Others move both up meanwhile.
  driver_.set(kEnd, "80");
  control().hold();
  driver_.set(kEnd, "100");
  driver_.set(kStart, "90");
  EXPECT_EQ(control().release().text, "BAT0: charging as before");
  EXPECT_EQ(read(kEnd) + " " + read(kStart), "80 75");
}

TEST_F(ChargeControlTest, WritesNothingThatIsAsWanted) {
  addThresholds("BAT0", "85", "0");
  driver_.set(kEnd, "80");
  const ChargeOutcome outcome = control().hold();
  EXPECT_TRUE(outcome.holding);
  EXPECT_EQ(outcome.text, "BAT0: charging is held at 80 % (charge_control_end_threshold)");
  EXPECT_THAT(driver_.writes, IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(state_));
  addBehaviour("BAT0", "inhibit-charge");
  EXPECT_TRUE(control().hold().holding);
  EXPECT_THAT(driver_.writes, IsEmpty());

  const ChargeOutcome released = control().release();
  EXPECT_FALSE(released.holding);
  EXPECT_EQ(released.text, "nothing is held");
  EXPECT_THAT(driver_.writes, IsEmpty()) << "somebody else set them";
}

TEST_F(ChargeControlTest, NeverTakesAHeldValueForTheFormerOne) {
  addThresholds("BAT0", "63", "0");
  for (const auto& [capacity, reset, end] :
       {std::tuple("63", "", "63"), {"64", "", "63"}, {"60", "", "60"}, {"70", "90", "70"}}) {
    driver_.set("BAT0/capacity", capacity);
    if (*reset != '\0') driver_.set(kEnd, reset);
    EXPECT_TRUE(control().hold().holding);
    EXPECT_EQ(read(kEnd), end);
    EXPECT_EQ(held(), "BAT0 charge_control_end_threshold 100\n");
  }
  driver_.stores[kEnd] = [this](const std::string& value) {
    if (value != "100") return EINVAL;
    driver_.set(kEnd, value);
    return 0;
  };
  driver_.set("BAT0/capacity", "65");
  EXPECT_FALSE(control().hold().holding);
  EXPECT_EQ(read(kEnd), "70") << "held a little above is better than not at all";
  EXPECT_TRUE(control().hasHeld());
}

TEST_F(ChargeControlTest, ChangesNothingThatItCannotWriteDown) {
  addThresholds("BAT0", "63", "95");
  addBehaviour("BAT1");
  folder_.write("state", "a file");
  const ChargeOutcome unwritable = control().hold();
  EXPECT_FALSE(unwritable.holding);
  EXPECT_THAT(unwritable.text, HasSubstr("held-charge cannot be read: Not a directory; nothing is changed"));
  std::filesystem::remove(root_ / "state");

  std::filesystem::create_directories(state_.string() + ".new/in the way");
  EXPECT_THAT(control().hold().text, HasSubstr("held-charge cannot be written"));
  EXPECT_THAT(control().hold().text, HasSubstr("nothing is changed\nBAT1: "));
  HeldCharge inMemory(state_);
  EXPECT_NE(inMemory.remember("BAT0", kChargeBehaviour, "auto"), "");
  EXPECT_EQ(inMemory.find("BAT0", kChargeBehaviour), nullptr);
  std::filesystem::remove_all(root_ / "state");

  driver_.set("BAT1/charge_behaviour", "auto inhibit-charge");
  addBattery("BAT0", {{"charge_control_end_threshold", "250"}});
  EXPECT_EQ(
      control().hold().text,
      "BAT0: charge_control_end_threshold stands at \"250\", which could not be put back; nothing is "
      "changed\nBAT1: charge_behaviour stands at \"\", which could not be put back; nothing is changed");
  EXPECT_THAT(driver_.writes, IsEmpty());
}

TEST_F(ChargeControlTest, FollowsNoLinkInPlaceOfTheFile) {
  addBehaviour("BAT0");
  const auto victim = folder_.write("victim", "untouched");
  std::filesystem::create_directories(state_.parent_path());
  std::filesystem::create_symlink(victim, state_.string() + ".new");
  std::filesystem::create_symlink(victim, state_);
  EXPECT_TRUE(control().hold().holding);
  EXPECT_EQ(folder_.read("victim"), "untouched");
  EXPECT_FALSE(std::filesystem::is_symlink(state_));
  EXPECT_EQ(held(), "BAT0 charge_behaviour auto\n");
}

TEST_F(ChargeControlTest, HoldsEachBatteryWhateverBecomesOfTheOthers) {
  EXPECT_EQ(control().hold().text, "there is no battery to hold");
  addBattery("BAT0", {});
  addThresholds("BAT1", "63", "0");
  addThresholds("BAT2", "50", "0");
  addThresholds("BAT3", "n/a", "0");
  addBehaviour("BAT4");
  addBattery("BAT5", {{"charge_behaviour", "[auto] force-discharge"}});
  addThresholds("mouse", "63", "0");
  driver_.set("mouse/scope", "Device");
  driver_.stores["BAT1/charge_control_end_threshold"] = [](const std::string&) { return EIO; };
  const ChargeOutcome outcome = control().hold();
  EXPECT_TRUE(outcome.holding);
  EXPECT_EQ(outcome.text,
            "BAT0: its driver offers nothing to hold the charge with\n"
            "BAT1: charge_control_end_threshold cannot be set to 63: Input/output error\n"
            "BAT2: charging is held at 50 % (charge_control_end_threshold)\n"
            "BAT3: its charge cannot be read\n"
            "BAT4: charging is held (charge_behaviour inhibit-charge)\n"
            "BAT5: its driver offers nothing to hold the charge with");
  EXPECT_EQ(held(), "BAT2 charge_control_end_threshold 100\nBAT4 charge_behaviour auto\n");
}

TEST_F(ChargeControlTest, KeepsWhatIsNotBackForTheNextTime) {
  addThresholds("BAT0", "63", "75");
  addThresholds("BAT1", "63", "0");
  addBehaviour("BAT2");
  control().hold();
  const std::filesystem::path bay = root_ / "sys/class/power_supply";
  std::filesystem::rename(bay / "BAT1", root_ / "BAT1");
  driver_.stores[kEnd] = [](const std::string&) { return EIO; };
  const ChargeOutcome partly = control().release();
  EXPECT_TRUE(partly.holding);
  EXPECT_EQ(partly.text,
            "BAT0: charge_control_end_threshold cannot be set to 100: Input/output error\n"
            "BAT2: charging as before\n"
            "BAT1: the battery is not there; its charging is put back once it is");
  EXPECT_EQ(read(kStart), "58") << "above an end that has not risen it would be refused";
  driver_.stores[kEnd] = [](const std::string&) { return 0; };
  EXPECT_THAT(control().release().text,
              HasSubstr("BAT0: the firmware keeps charge_control_end_threshold at 63; 100 was asked for"));
  EXPECT_TRUE(control().hasHeld());

  driver_.stores.erase(kEnd);
  EXPECT_FALSE(control().release().holding);
  EXPECT_EQ(read(kEnd) + " " + read(kStart), "100 75");
  EXPECT_FALSE(control().hasHeld()) << "a battery that is not there";
  EXPECT_EQ(held(), "BAT1 charge_control_end_threshold 100\n");
  std::filesystem::rename(root_ / "BAT1", bay / "BAT1");
  EXPECT_TRUE(control().hasHeld());
  EXPECT_EQ(control().release().text, "BAT1: charging as before");
  EXPECT_EQ(read("BAT1/charge_control_end_threshold"), "100");
  EXPECT_FALSE(std::filesystem::exists(state_));
}

TEST_F(ChargeControlTest, ReadsNothingFromTheFileThatItWouldNotHaveWritten) {
  const std::pair<const char*, bool> cases[] = {
      {"BAT0 charge_control_end_threshold 100\n", true},
      {"BAT0 charge_control_end_threshold 0", true},
      {"BAT0 charge_control_start_threshold 40\n", true},
      {"hid-b_0.1 charge_behaviour inhibit-charge-awake\n", true},
      {"\nnonsense\nBAT0 charge_behaviour auto\n", true},
      {"BAT0 charge_control_end_threshold 101\n", false},
      {"BAT0 charge_control_end_threshold -1\n", false},
      {"BAT0 charge_control_end_threshold +1\n", false},
      {"BAT0 charge_control_end_threshold 80 \n", false},
      {"BAT0 charge_control_end_threshold\n", false},
      {"BAT0 charge_control_end_threshold auto\n", false},
      {"BAT0 charge_behaviour 80\n", false},
      {"BAT0 charge_behaviour always\n", false},
      {"BAT0 uevent change\n", false},
      {"BAT0  charge_behaviour auto\n", false},
      {" charge_behaviour auto\n", false},
      {"../BAT0 charge_behaviour auto\n", false},
      {".. charge_behaviour auto\n", false},
      {"a/b charge_behaviour auto\n", false},
      {"BAT\xC3\xA9 charge_behaviour auto\n", false},
      {"", false},
  };
  for (const auto& [text, isTaken] : cases)
    EXPECT_EQ(parseFormerValues(text).size(), isTaken ? 1U : 0U) << text;
  const auto values = parseFormerValues("B charge_behaviour auto\nB charge_behaviour force-discharge\n");
  ASSERT_EQ(values.size(), 1U);
  EXPECT_EQ(values.front().value, "auto");

  folder_.write("sys/device/charge_behaviour", "untouched");
  folder_.write("state/held-charge", "../../device charge_behaviour auto\n");
  EXPECT_EQ(control().release().text, "nothing is held");
  std::filesystem::remove_all(state_);
  std::filesystem::create_directories(state_);
  const ChargeOutcome unreadable = control().release();
  EXPECT_TRUE(unreadable.holding);
  EXPECT_THAT(unreadable.text, HasSubstr("held-charge cannot be read: Is a directory"));
}

}  // namespace
}  // namespace quorlin
