#include "fakes/TemporaryFolder.h"
#include "programs/core-helper/FakeDriver.h"
#include "programs/core-helper/charge/ChargeControl.h"
#include "programs/core-helper/charge/HeldCharge.h"

#include <algorithm>
#include <cerrno>
#include <tuple>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kEnd = "BAT0/charge_control_end_threshold";
const std::string kStart = "BAT0/charge_control_start_threshold";
const std::string kBehaviour = "BAT0/charge_behaviour";
const std::string kTypes = "BAT0/charge_types";

class ChargeControlTest : public testing::Test {
 protected:
  void addBattery(const std::string& name, const char* capacity, const char* end, const char* start) {
    for (const auto& [attribute, value] : {std::pair("type", "Battery"),
                                           {"capacity", capacity},
                                           {"charge_control_end_threshold", end},
                                           {"charge_control_start_threshold", start}})
      driver_.set(name + "/" + attribute, value);
  }

  /// Has a word in brackets, as the kernel shows a choice.
  void addChoice(const std::string& attribute, const std::string& words, const std::string& chosen) {
    const auto choose = [=, this](const std::string& word) {
      std::string text = " " + words + " ";
      const std::size_t place = text.find(" " + word + " ");
      if (place == std::string::npos) return EINVAL;
      driver_.set(attribute, text.replace(place, word.size() + 1, " [" + word + "]").substr(1));
      return 0;
    };
    choose(chosen);
    driver_.stores[attribute] = choose;
  }

  void addBehaviour(const std::string& name, const std::string& chosen = "auto") {
    driver_.set(name + "/type", "Battery");
    addChoice(name + "/charge_behaviour", "auto inhibit-charge force-discharge", chosen);
  }

  /// What the firmware keeps of a percentage, or the negative error with which it fails.
  void onStore(const std::string& attribute, const std::function<int(int wanted)>& kept) {
    driver_.stores[attribute] = [=, this](const std::string& value) {
      const int percent = kept(std::stoi(value));
      if (percent >= 0) driver_.set(attribute, std::to_string(percent));
      return percent < 0 ? -percent : 0;
    };
  }

  std::string read(const std::string& attribute) const {
    const std::string text = folder_.read("sys/class/power_supply/" + attribute);
    return text.substr(0, text.find('\n'));
  }
  std::string thresholds() const { return read(kEnd) + " " + read(kStart); }

  /// A new one each time: what is held is known from the file alone.
  ChargeControl control() const { return {root_ / "sys", state_}; }
  std::string held() const { return folder_.read("state/held-charge"); }

  TemporaryFolder folder_;
  std::filesystem::path root_ = std::filesystem::canonical(folder_.path());
  std::filesystem::path state_ = root_ / "state/held-charge";
  FakeDriver driver_{root_ / "sys/class/power_supply"};
};

TEST_F(ChargeControlTest, HoldsAtTheChargeAndPutsBackWhatItFound) {
  addBattery("BAT0", "63", "100", "95");
  std::vector<std::string> writtenDownBefore;
  for (const std::string& attribute : {kEnd, kStart}) {
    onStore(attribute, [&](int percent) {
      writtenDownBefore.push_back(held());
      return percent;
    });
  }
  EXPECT_THAT(control().hold(),
              FieldsAre(true, "BAT0: the charge is held at 63 % (charge_control_end_threshold)"));
  EXPECT_THAT(driver_.writes, ElementsAre(kStart + " 58", kEnd + " 63"));
  const std::string lines = "BAT0 charge_control_end_threshold 100\nBAT0 charge_control_start_threshold 95\n";
  EXPECT_THAT(writtenDownBefore, ElementsAre(lines, lines));
  EXPECT_EQ(held(), "BAT0 charge_control_end_threshold 100 63\nBAT0 charge_control_start_threshold 95 58\n");
  EXPECT_TRUE(control().hasHeld());
  using std::filesystem::perms;
  for (const auto& [path, allowed] : {std::pair(state_, perms(0600)), {state_.parent_path(), perms(0700)}})
    EXPECT_EQ(std::filesystem::status(path).permissions(), allowed) << path;

  driver_.writes.clear();
  EXPECT_THAT(control().release(), FieldsAre(false, "BAT0: the charge settings are restored"));
  EXPECT_THAT(driver_.writes, ElementsAre(kEnd + " 100", kStart + " 95"));
  EXPECT_TRUE(std::filesystem::is_empty(state_.parent_path()));
  EXPECT_FALSE(control().hasHeld());
}

TEST_F(ChargeControlTest, InhibitsChargingWhereTheDriverOffersIt) {
  addBattery("BAT0", "63", "100", "95");
  addBehaviour("BAT0", "inhibit-charge");
  EXPECT_TRUE(control().hold().holding);
  EXPECT_EQ(control().release().text, "no charge is held") << "another program holds it";
  EXPECT_THAT(driver_.writes, IsEmpty());

  addBehaviour("BAT0", "force-discharge");
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(control().hold(),
                FieldsAre(true, "BAT0: the charge is held (charge_behaviour inhibit-charge)"));
    if (i == 0) folder_.write("state/held-charge", held() + "another line\n");
  }
  EXPECT_THAT(driver_.writes, ElementsAre(kBehaviour + " inhibit-charge")) << "once";
  EXPECT_EQ(held(), "BAT0 charge_behaviour force-discharge inhibit-charge\nanother line\n")
      << "the file is written once, too";
  EXPECT_EQ(control().release().text, "BAT0: the charge settings are restored");
  EXPECT_EQ(read(kBehaviour), "auto inhibit-charge [force-discharge] ");
}

TEST_F(ChargeControlTest, TellsWhatTheFirmwareMadeOfItAndAsksItOnce) {
  using End = int (*)(int wanted);
  // The writes are counted with those that put it back.
  const std::tuple<const char*, End, std::string_view, const char*, std::size_t> firmwares[] = {
      {"85", [](int end) { return end % 20 == 0 ? end : -EINVAL; }, " held at 80 %", "80", 2},
      {"63", [](int end) { return end % 20 == 0 ? end : -EIO; }, " held at 60 %", "60", 2},
      {"63", [](int end) { return end / 10 * 10; }, " held at 60 %", "60", 1},
      {"0", [](int end) { return end; }, " held at 1 %", "1", 1},
      {"104", [](int end) { return end; }, " held at 100 %", "100", 0},
      {"63", [](int end) { return end < 80 ? -EINVAL : end; }, " at 100; 63 was requested", "100", 3},
      {"40", [](int end) { return std::max(end, 55); }, " at 55; 40 was requested", "100", 2},
      {"63", [](int end) { return end < 80 ? 0 : end; }, " at 0; 63 was requested", "100", 4},
      {"63", [](int) { return -EIO; }, " cannot be set to 63: Input/output error", "100", 3},
      {"63", [](int) { return -EROFS; }, " cannot be set to 63: Read-only file system", "100", 1},
  };
  for (const auto& [capacity, end, text, endsAt, writes] : firmwares) {
    SCOPED_TRACE(text);
    addBattery("BAT0", capacity, "100", "0");
    onStore(kEnd, end);
    driver_.writes.clear();
    ChargeControl one = control();
    for (int i = 0; i < 2; ++i) {
      EXPECT_THAT(one.hold(), FieldsAre(text.ends_with('%'), HasSubstr(text)));
      EXPECT_EQ(read(kEnd), endsAt);
    }
    EXPECT_EQ(driver_.writes.size(), writes);
    control().release();
    EXPECT_EQ(read(kEnd), "100");
    EXPECT_FALSE(std::filesystem::exists(state_));
  }
}

TEST_F(ChargeControlTest, AsksAFirmwareThatRefusedAgainAtAnotherChargeAndAfterARelease) {
  addBattery("BAT0", "50", "100", "0");
  onStore(kEnd, [](int) { return -EINVAL; });
  ChargeControl one = control();
  for (const char* capacity : {"50", "49", "50"}) {
    driver_.set("BAT0/capacity", capacity);
    for (int i = 0; i < 2; ++i) EXPECT_FALSE(one.hold().holding);
  }
  EXPECT_EQ(driver_.writes.size(), 3U);
  one.release();
  one.hold();
  EXPECT_EQ(driver_.writes.size(), 4U);

  driver_.stores.clear();
  driver_.set("BAT0/capacity", "51");
  std::filesystem::create_directories(state_.string() + ".new/in the way");
  EXPECT_FALSE(one.hold().holding);
  std::filesystem::remove_all(root_ / "state");
  EXPECT_TRUE(one.hold().holding) << "it was not the firmware that refused";
}

TEST_F(ChargeControlTest, ChoosesTheTypeThatUsesTheThresholds) {
  const std::tuple<const char*, std::string, bool, const char*, const char*> cases[] = {
      {"Fast Custom Long_Life", "Long_Life", false, "at 63 %", "BAT0 charge_types Long_Life Custom\n"},
      {"Standard Custom", "Standard", true, "kept charge_types at Standard; Custom was requested", ""},
      {"Standard Custom", "Custom", false, "at 63 %", "threshold 100 63\n"},
      {"Standard Customary", "Standard", false, "at 63 %", "threshold 100 63\n"},
  };
  for (const auto& [types, chosen, isRefused, text, line] : cases) {
    addBattery("BAT0", "63", "100", "0");
    addChoice(kTypes, types, chosen);
    if (isRefused) driver_.stores[kTypes] = [](const std::string&) { return EINVAL; };
    EXPECT_THAT(control().hold(), FieldsAre(!isRefused, HasSubstr(text)));
    EXPECT_THAT(held(), testing::EndsWith(line));
    EXPECT_FALSE(control().release().holding);
    EXPECT_EQ(thresholds(), "100 0");
    EXPECT_THAT(read(kTypes), HasSubstr("[" + chosen + "]"));
  }
}

TEST_F(ChargeControlTest, KeepsTheStartBelowTheEndAtEveryMoment) {
  for (const char* start : {"75", "60"}) {
    addBattery("BAT0", "63", "100", start);
    onStore(kStart, [this](int percent) { return percent + 5 > std::stoi(read(kEnd)) ? -EINVAL : percent; });
    onStore(kEnd, [this](int percent) { return percent - 5 < std::stoi(read(kStart)) ? -EINVAL : percent; });
    control().hold();
    EXPECT_EQ(thresholds(), "63 58");
    EXPECT_FALSE(control().release().holding);
    EXPECT_EQ(thresholds(), std::string("100 ") + start);
  }
}

TEST_F(ChargeControlTest, LeavesTheValuesThatAnotherProgramSet) {
  for (const auto& [attribute, value, after] :
       {std::tuple(kEnd, "80", "80 75"), {kEnd, "70", "70 58"}, {kStart, "40", "100 40"}}) {
    addBattery("BAT0", "63", "100", "75");
    onStore(kStart, [this](int percent) { return percent >= std::stoi(read(kEnd)) ? -EINVAL : percent; });
    control().hold();
    driver_.set(attribute, value);
    const std::string name = attribute.substr(attribute.find('/') + 1);
    EXPECT_THAT(control().release(), FieldsAre(false, "BAT0: another program set " + name + " to " + value +
                                                          "; that value stays"));
    EXPECT_EQ(thresholds(), after);
    EXPECT_EQ(held(), "");
  }
  addBattery("BAT0", "63", "100", "75");
  control().hold();
  driver_.set(kEnd, "100");
  EXPECT_EQ(control().release().text, "BAT0: the charge settings are restored");
  EXPECT_EQ(thresholds(), "100 75");
  folder_.write("state/held-charge", "BAT0 charge_control_end_threshold 80\n");
  EXPECT_EQ(control().release().text, "BAT0: the charge settings are restored");
  EXPECT_EQ(read(kEnd), "80") << "what is ours was not yet known when the power went";
}

TEST_F(ChargeControlTest, PutsBackAnEndThatIsShownAsNone) {
  for (const int least : {0, 1}) {
    addBattery("BAT0", "63", "0", "0");
    onStore(kEnd, [=](int end) { return end < least ? -EINVAL : end; });
    EXPECT_TRUE(control().hold().holding);
    EXPECT_EQ(control().release().text, "BAT0: the charge settings are restored");
    EXPECT_EQ(read(kEnd), least == 0 ? "0" : "100");
  }
}

/// A firmware whose driver goes on showing what the firmware has forgotten.
TEST_F(ChargeControlTest, TellsAFirmwareAgainThatForgotWhatItsDriverShows) {
  for (const std::string& attribute : {kEnd, kBehaviour}) {
    addBattery("BAT0", "63", "100", "0");
    driver_.stores.clear();
    if (attribute == kBehaviour) addBehaviour("BAT0");
    driver_.set("BAT0/status", "Charging");
    ChargeControl one = control();
    EXPECT_TRUE(one.hold().holding);
    const std::string shown = read(attribute);
    driver_.writes.clear();
    one.renew();
    ASSERT_EQ(driver_.writes.size(), 1U) << "after a sleep";
    EXPECT_TRUE(driver_.writes.front().starts_with(attribute));
    for (const char* capacity : {"63", "64", "64", "65"}) {
      driver_.set("BAT0/capacity", capacity);
      EXPECT_TRUE(one.hold().holding);
    }
    EXPECT_EQ(driver_.writes.size(), 3U) << "while it charges on, once a percent";
    EXPECT_EQ(read(attribute), shown);
    one.release();
    driver_.writes.clear();
    one.renew();
    EXPECT_THAT(driver_.writes, IsEmpty());
  }
}

TEST_F(ChargeControlTest, NeverFightsAnotherProgram) {
  addBattery("BAT0", "63", "100", "0");
  ChargeControl one = control();
  one.hold();
  one.settle();
  driver_.set(kEnd, "90");
  driver_.writes.clear();
  for (int i = 0; i < 3; ++i) {
    EXPECT_THAT(one.hold(),
                FieldsAre(false, HasSubstr("another program set charge_control_end_threshold to 90;")));
    one.settle();
    one.renew();
  }
  EXPECT_THAT(driver_.writes, IsEmpty());
  EXPECT_FALSE(one.report().front().isHeld);
  EXPECT_TRUE(one.hasHeld()) << "so there is somebody for whose end it is forgotten";
  one.release();
  EXPECT_EQ(read(kEnd), "90");

  // The former value may be back by a firmware that forgot, but not twice.
  addBattery("BAT0", "63", "100", "0");
  one.hold();
  for (const bool isHeld : {true, false}) {
    driver_.set(kEnd, "100");
    EXPECT_EQ(one.hold().holding, isHeld);
  }
  one.renew();
  EXPECT_EQ(read(kEnd), "63") << "a sleep lets a firmware forget again";
}

TEST_F(ChargeControlTest, TakesAValueThatTheFirmwareRoundsLateForItsOwn) {
  addBattery("BAT0", "63", "100", "0");
  ChargeControl one = control();
  one.hold();
  driver_.set(kEnd, "60");
  EXPECT_TRUE(one.hold().holding);
  driver_.set(kEnd, "55");
  one.settle();
  EXPECT_FALSE(one.release().holding);
  EXPECT_EQ(read(kEnd), "100");
}

TEST_F(ChargeControlTest, SetsThresholdsThatWereNeverSet) {
  addBattery("BAT0", "63", "", "");
  driver_.unset = {kEnd, kStart};
  EXPECT_TRUE(control().hold().holding);
  EXPECT_THAT(driver_.writes, ElementsAre(kEnd + " 63"));
  EXPECT_EQ(control().release().text, "BAT0: the charge settings are restored");
  EXPECT_EQ(read(kEnd), "100");
}

TEST_F(ChargeControlTest, ChoosesTheTypeAlsoWhereTheDriverHasNoList) {
  const std::string type = "BAT0/charge_type";
  const auto file = root_ / "sys/class/power_supply" / type;
  for (const bool knowsCustom : {true, false}) {
    addBattery("BAT0", "63", "100", "0");
    driver_.stores.erase(type);
    driver_.set(type, "Long Life");
    if (!knowsCustom) driver_.stores[type] = [](const std::string&) { return EINVAL; };
    EXPECT_TRUE(control().hold().holding);
    EXPECT_EQ(read(type), knowsCustom ? "Custom" : "Long Life");
    EXPECT_FALSE(control().release().holding);
    EXPECT_EQ(read(type), "Long Life");
  }
  std::filesystem::permissions(file, std::filesystem::perms(0444));
  driver_.writes.clear();
  control().hold();
  EXPECT_THAT(driver_.writes, testing::Not(testing::Contains(testing::StartsWith(type))))
      << "it only reports";
}

TEST_F(ChargeControlTest, RestoresABatteryThatIsBack) {
  const std::filesystem::path bay = root_ / "sys/class/power_supply";
  addBattery("BAT0", "63", "100", "0");
  ChargeControl one = control();
  one.hold();
  std::filesystem::rename(bay / "BAT0", root_ / "BAT0");
  one.release();
  EXPECT_FALSE(one.hasReturned());
  std::filesystem::rename(root_ / "BAT0", bay / "BAT0");
  EXPECT_TRUE(one.hasReturned());
  one.release();
  EXPECT_EQ(read(kEnd), "100");
  EXPECT_FALSE(one.hasReturned());
}

TEST_F(ChargeControlTest, ReleasesWhatItCannotReadAndSetsItAside) {
  for (const bool isFifo : {false, true}) {
    addBattery("BAT0", "63", "63", "0");
    addBehaviour("BAT1", "inhibit-charge");
    isFifo ? mkfifo(state_.c_str(), 0600) : std::filesystem::create_directories(state_);
    EXPECT_FALSE(control().hold().holding);
    EXPECT_TRUE(control().hasHeld());
    EXPECT_THAT(control().release(), FieldsAre(false, HasSubstr("held-charge cannot be read: ")));
    EXPECT_EQ(read(kEnd), "100");
    EXPECT_THAT(read("BAT1/charge_behaviour"), HasSubstr("[auto]"));
    EXPECT_FALSE(std::filesystem::exists(state_));
    EXPECT_TRUE(control().hold().holding);
    control().release();
  }
}

TEST_F(ChargeControlTest, NeverTakesAHeldValueForTheFormerOne) {
  addBattery("BAT0", "63", "100", "0");
  for (const auto& [capacity, reset, end] :
       {std::tuple("63", "100", "63"), {"64", "63", "63"}, {"60", "63", "60"}, {"70", "100", "60"}}) {
    driver_.set("BAT0/capacity", capacity);
    driver_.set(kEnd, reset);
    EXPECT_TRUE(control().hold().holding);
    EXPECT_EQ(held(), std::string("BAT0 charge_control_end_threshold 100 ") + end + "\n");
  }
  onStore(kEnd, [](int end) { return end == 100 ? end : -EINVAL; });
  driver_.set("BAT0/capacity", "55");
  EXPECT_FALSE(control().hold().holding);
  EXPECT_EQ(read(kEnd), "60") << "held a little above is better than not at all";
  EXPECT_TRUE(control().hasHeld());
}

TEST_F(ChargeControlTest, ChangesNothingThatItCannotWriteDown) {
  addBattery("BAT0", "63", "250", "95");
  addBehaviour("BAT1");
  driver_.set("BAT2/type", "Battery");
  driver_.set("BAT2/charge_behaviour", "auto inhibit-charge");
  folder_.write("state", "a file");
  EXPECT_THAT(control().hold().text, HasSubstr("cannot be read: Not a directory; nothing is changed"));
  std::filesystem::remove(root_ / "state");
  std::filesystem::create_directories(state_.string() + ".new/in the way");
  EXPECT_THAT(control().hold().text,
              AllOf(HasSubstr("the value \"250\" of charge_control_end_threshold; nothing is changed"),
                    HasSubstr("held-charge.new cannot be written"),
                    HasSubstr("could not restore the value \"\" of charge_behaviour")));
  EXPECT_THAT(driver_.writes, IsEmpty());
  Result<HeldCharge> inMemory = HeldCharge::in(state_);
  EXPECT_EQ(inMemory->remember("BAT0", kChargeBehaviour, std::string(4000, 'x'))->text(),
            "the helper could not restore the value \"" + std::string(100, 'x') + "…\" of charge_behaviour");
  EXPECT_TRUE(inMemory->remember("BAT0", kChargeBehaviour, "auto"));
  EXPECT_EQ(inMemory->find("BAT0", kChargeBehaviour), nullptr);

  std::filesystem::remove_all(state_.string() + ".new");
  const auto victim = folder_.write("victim", "untouched");
  for (const char* ending : {"", ".new"}) std::filesystem::create_symlink(victim, state_.string() + ending);
  EXPECT_TRUE(control().hold().holding);
  EXPECT_EQ(folder_.read("victim"), "untouched");
  EXPECT_EQ(held(), "BAT1 charge_behaviour auto inhibit-charge\n");
}

TEST_F(ChargeControlTest, HoldsEachBatteryAndKeepsWhatIsNotBackForTheNextTime) {
  EXPECT_EQ(control().hold().text, "there is no battery");
  addBattery("BAT0", "63", "100", "75");
  addBattery("BAT1", "50", "100", "0");
  addBattery("BAT2", "n/a", "100", "0");
  addBehaviour("BAT3");
  driver_.set("BAT4/type", "Battery");
  driver_.set("BAT4/charge_behaviour", "[auto] force-discharge");
  addBehaviour("BAT5");
  driver_.set("BAT5/capacity", "62");
  addBattery("mouse", "63", "100", "0");
  driver_.set("mouse/scope", "Device");
  EXPECT_THAT(control().hold(), FieldsAre(true,
                                          "BAT0: the charge is held at 63 % (charge_control_end_threshold)\n"
                                          "BAT1: the charge is held at 63 % (charge_control_end_threshold)\n"
                                          "BAT2: its charge cannot be read\n"
                                          "BAT3: the charge is held (charge_behaviour inhibit-charge)\n"
                                          "BAT4: the driver cannot hold the charge\n"
                                          "BAT5: it keeps charging because its charge is below 63 %"));

  const std::filesystem::path bay = root_ / "sys/class/power_supply";
  std::filesystem::rename(bay / "BAT1", root_ / "BAT1");
  onStore(kEnd, [](int) { return -EIO; });
  EXPECT_THAT(control().release(),
              FieldsAre(true,
                        "BAT0: charge_control_end_threshold cannot be set to 100: Input/output error\n"
                        "BAT3: the charge settings are restored\n"
                        "BAT1: the battery is absent; its charge settings are restored when it returns"));
  EXPECT_EQ(read(kStart), "58") << "above an end that has not risen it would be refused";
  onStore(kEnd, [](int) { return 80; });
  EXPECT_THAT(control().release().text,
              HasSubstr("BAT0: the firmware kept charge_control_end_threshold at 80; 100 was requested"));
  driver_.stores.erase(kEnd);
  EXPECT_FALSE(control().release().holding);
  EXPECT_EQ(thresholds(), "100 75");
  EXPECT_FALSE(control().hasHeld()) << "a battery that is not there";
  EXPECT_EQ(held(), "BAT1 charge_control_end_threshold 100 63\n");
  std::filesystem::rename(root_ / "BAT1", bay / "BAT1");
  EXPECT_EQ(control().release().text, "BAT1: the charge settings are restored");
}

TEST_F(ChargeControlTest, ReadsNothingFromTheFileThatItWouldNotHaveWritten) {
  for (const char* text :
       {"BAT0 charge_control_end_threshold 100 63\n", "BAT0 charge_control_start_threshold 0",
        "hid-b_0.1 charge_behaviour inhibit-charge-awake\n", "BAT0 charge_types Long_Life Custom\n",
        "\nnonsense\nB charge_behaviour auto\nB charge_behaviour force-discharge\n"})
    EXPECT_EQ(parseFormerValues(text).size(), 1U) << text;
  for (const std::string battery : {"", " ", "../BAT0", "..", "a/b", "BAT\xC3\xA9", "BAT0 "})
    EXPECT_THAT(parseFormerValues(battery + " charge_behaviour auto\n"), IsEmpty()) << battery;
  for (const std::string value : {" 101", " -1", " +1", " 80 ", " 80 auto", " 80 63 60", "", " auto"})
    EXPECT_THAT(parseFormerValues("BAT0 charge_control_end_threshold" + value), IsEmpty()) << value;
  for (const std::string rest :
       {"charge_behaviour 80", "charge_behaviour always", "charge_types Long Life", "uevent change"})
    EXPECT_THAT(parseFormerValues("BAT0 " + rest), IsEmpty()) << rest;
  folder_.write("sys/device/charge_behaviour", "untouched");
  folder_.write("state/held-charge", "../../device charge_behaviour auto\n");
  EXPECT_EQ(control().release().text, "no charge is held");
}

}  // namespace
}  // namespace quorlin
