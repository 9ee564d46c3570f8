#include "fakes/TemporaryFolder.h"
#include "programs/quorlinctl/doctor/Doctor.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Files = std::map<std::string, std::string>;

/// A machine of a few files.
class Machine {
 public:
  explicit Machine(const Files& files) {
    for (const auto& [name, text] : files) folder_.write(name, text);
  }

  SystemRoots roots() const { return {.sysfs = folder_.path() / "sys", .procfs = folder_.path() / "proc"}; }

 private:
  TemporaryFolder folder_;
};

const std::string kDriver = "sys/class/hwmon/hwmon0/";
const Files kIntel = {
    {"proc/cpuinfo", "processor\t: 0\nvendor_id\t: GenuineIntel\nflags\t\t: fpu hypervisors\n"}};
const Files kGuest = {
    {"proc/cpuinfo", "vendor_id\t: AuthenticAMD\ncpu family\t: 23\nflags\t\t: fpu hypervisor sse\n"}};
const Files kBulldozer = {{"proc/cpuinfo", "vendor_id\t: AuthenticAMD\ncpu family\t: 21\n"}};

const std::string kBattery = "sys/class/power_supply/BAT0/";
const Files kBatteries = {
    {kBattery + "type", "Battery\n"},        {kBattery + "capacity", "64\n"},
    {kBattery + "energy_full", "1000\n"},    {kBattery + "energy_now", "639\n"},
    {kBattery + "status", "Not charging\n"}, {"sys/class/power_supply/BAT1/type", "Battery\n"}};
const Files kMouse = {{"sys/class/power_supply/hid-0/type", "Battery\n"},
                      {"sys/class/power_supply/hid-0/scope", "Device\n"},
                      {"sys/class/power_supply/AC/type", "Mains\n"}};

Files with(Files files, const Files& others) {
  files.insert(others.begin(), others.end());
  return files;
}

TEST(Checks, TellMissingFromPresentAndFromNothingToMend) {
  const Files chip = {{kDriver + "name", "coretemp\n"}, {kDriver + "temp1_input", "40000\n"}};
  const Files fans = {{kDriver + "fan1_input", "0\n"}, {kDriver + "fan2_input", "1\n"}};
  const Files driveChip = {{kDriver + "name", "drivetemp\n"}, {kDriver + "temp1_input", "30000\n"}};
  const Files sata = {{"sys/block/sda/device/vendor", "ATA     \n"},
                      {"sys/block/sdb/device/vendor", "Generic\n"}};
  const Files counters = {{"proc/diskstats",
                           "   8       0 sda 1 0 2 0 1 0 2 0 0 0 0 0 0 0 0 0 0\n"
                           "   7       0 loop0 1 0 2 0 1 0 2 0 0 0 0 0 0 0 0 0 0\n"},
                          {"sys/block/loop0/size", "8\n"}};
  const std::string slice = "/user.slice/user-1000.slice/user@1000.service/app.slice/";
  const Files inApp = {{"proc/self/cgroup", "1:cpu:/\n0::" + slice + "app-x.scope\n"}};
  const Files inSystem = {{"proc/self/cgroup", "1:cpu:" + slice + "app-x.scope\n0::/system.slice\n"}};
  const std::string smc = "sys/devices/platform/applesmc.768/";
  const auto smcOf = [](const SystemRoots& roots) { return checkSmc(roots).value(); };
  EXPECT_FALSE(checkSmc(Machine(kIntel).roots()).has_value());
  const Files mac = {{"sys/class/dmi/id/sys_vendor", "Apple Inc.\n"}};
  const Files rapl = {{"sys/class/powercap/intel-rapl:0/name", "package-0\n"}};
  const Files withEnd = {{kBattery + "charge_behaviour", "[auto] inhibit-charge-awake\n"},
                         {kBattery + "charge_control_end_threshold", "100\n"}};
  const Files withBehaviour = {{kBattery + "type", "Battery\n"},
                               {kBattery + "charge_behaviour", "auto [inhibit-charge]\n"}};
  const Files unknownState = {{kBattery + "type", "Battery\n"},
                              {kBattery + "capacity", "64\n"},
                              {kBattery + "energy_full", "100\n"},
                              {kBattery + "energy_now", "64\n"},
                              {kBattery + "status", "Unknown\n"}};
  const Files unknownCharge = {{kBattery + "type", "Battery\n"}, {kBattery + "status", "Full\n"}};
  const struct {
    Finding (*check)(const SystemRoots&);
    Files files;
    CheckState state;
    std::string_view finding;
    std::string_view advice;
  } cases[] = {
      {checkSensors, with(chip, fans), CheckState::Ok, "The agent finds 1 chip with 1 temperature, 2 fans.",
       ""},
      {checkSensors, kIntel, CheckState::Missing, "class/hwmon", "sensors-detect"},
      {checkSensors, kGuest, CheckState::Missing, "class/hwmon", "virtual"},
      {checkMachine, kIntel, CheckState::Ok, "This is a real machine.", ""},
      {checkMachine, kGuest, CheckState::Note, "flag hypervisor", ""},
      {checkMachine,
       {{"sys/class/dmi/id/sys_vendor", "QEMU\n"}},
       CheckState::Note,
       "The file sys_vendor contains QEMU.",
       ""},
      {checkProcessorDriver, kIntel, CheckState::Missing, "GenuineIntel", "modprobe coretemp"},
      {checkProcessorDriver, with(kIntel, chip), CheckState::Ok, "The driver coretemp is loaded.", ""},
      {checkProcessorDriver, kGuest, CheckState::Note, "k10temp", ""},
      {checkProcessorDriver, {}, CheckState::Note, "no known driver", ""},
      {smcOf,
       {{smc + "key_count", "423\n"}},
       CheckState::Ok,
       "applesmc.768 has 423 keys, which cannot be read: ",
       ""},
      {smcOf, mac, CheckState::Note, "The fans and sensors of this Mac", "modprobe applesmc"},
      {checkDriveDriver, sata, CheckState::Missing, "(sda)", "modprobe drivetemp"},
      {checkDriveDriver, with(sata, kGuest), CheckState::Note, "(sda)", ""},
      {checkDriveDriver, with(sata, driveChip), CheckState::Ok, "The driver drivetemp is loaded.", ""},
      {checkDriveDriver, {}, CheckState::Ok, "No SATA disk needs a driver.", ""},
      {checkDiskCounters, with(counters, sata), CheckState::Ok, "The agent counts the activity of sda.", ""},
      {checkDiskCounters, counters, CheckState::Note, "no physical disk", ""},
      {checkDiskCounters, {}, CheckState::Missing, "cannot be read", "permissions"},
      {checkApplicationNames, inApp, CheckState::Ok, "app.slice", ""},
      {checkApplicationNames, inSystem, CheckState::Note, "but in /system.slice;", ""},
      {checkApplicationNames, {}, CheckState::Note, "no control group", ""},
      {checkEnergyCounters, with(kGuest, rapl), CheckState::Ok, "class/powercap/intel-rapl:0", ""},
      {checkEnergyCounters, kIntel, CheckState::Missing, "GenuineIntel", "modprobe intel_rapl_msr"},
      {checkEnergyCounters, kGuest, CheckState::Note, ". This is usual in a virtual machine.", ""},
      {checkEnergyCounters, {}, CheckState::Note, "This kind of processor", ""},
      {checkEnergyCounters, kBulldozer, CheckState::Note, "This kind of processor", ""},
      {checkBattery, kMouse, CheckState::Note, "has no battery", ""},
      {checkBattery, with(kBatteries, kMouse), CheckState::Ok,
       "The charge of BAT0 is 63 %. BAT0 is not charging. The charge of BAT1 is unknown. The state of BAT1 "
       "is unknown.",
       ""},
      {checkBattery, unknownState, CheckState::Ok,
       "The charge of BAT0 is 64 %. The state of BAT0 is unknown.", ""},
      {checkBattery, unknownCharge, CheckState::Ok, "The charge of BAT0 is unknown. BAT0 is full.", ""},
      {checkChargeControl, kMouse, CheckState::Ok, "no battery", ""},
      {checkChargeControl, kBatteries, CheckState::Note,
       "The driver of BAT0 cannot stop charging. The driver of BAT1 cannot", "thinkpad_acpi"},
      {checkChargeControl, with(kBatteries, withEnd), CheckState::Note,
       "The charge of BAT0 can be held with charge_control_end_threshold. The driver of BAT1 cannot",
       "thinkpad_acpi"},
      {checkChargeControl, withBehaviour, CheckState::Ok,
       "The charge of BAT0 can be held with charge_behaviour.", ""},
  };
  for (const auto& [check, files, state, finding, advice] : cases) {
    const Machine machine(files);
    const Finding result = check(machine.roots());
    SCOPED_TRACE(result.text);
    EXPECT_EQ(result.state, state);
    EXPECT_THAT(result.text, HasSubstr(finding));
    EXPECT_THAT(result.advice, HasSubstr(advice));
    EXPECT_EQ(result.advice.empty(), advice.empty());
    EXPECT_THAT(result.line(), MatchesRegex("[A-Z].*\\."));
  }
}

TEST(Checks, TellWhatTheSettingsSwitchOn) {
  const std::tuple<std::string_view, CheckState, CheckState> cases[] = {
      {"[Settings]\nautostart=1\n", CheckState::Ok, CheckState::Note},
      {"[Settings]\nautostart=0\ncoreAutostart=1\n", CheckState::Missing, CheckState::Ok},
      {"nonsense\n", CheckState::Missing, CheckState::Note}};
  for (const auto& [contents, sensors, core] : cases) {
    const TemporaryFolder folder;
    const auto file = folder.write("settings.conf", contents);
    EXPECT_EQ(checkSettings(file).state, sensors) << contents;
    EXPECT_EQ(checkCoreSetting(file).state, core) << contents;
    EXPECT_EQ(folder.read("settings.conf"), contents);
  }
  EXPECT_EQ(checkSettings("/nonexistent").state, CheckState::Missing);
  const TemporaryFolder folder;
  EXPECT_EQ(checkSettings(folder.path()).text, "The settings are ignored: " + folder.path().string() +
                                                   " cannot be read: it is not a regular file.");
  // The agent replaces only a file that it could read.
  EXPECT_THAT(checkSettings(folder.path()).advice, HasSubstr("saves nothing"));
  EXPECT_THAT(checkSettings(folder.write("settings.conf", "nonsense")).advice, HasSubstr("sets it aside"));
}

TEST(Checks, TellWhoStartsTheAgentAtLogin) {
  const std::optional<Trouble> off = Trouble{.what = "the entry is switched off"};
  const struct {
    std::optional<Trouble> entry;
    LoginStarter session;
    bool isWanted;
    CheckState state;
    const char* finding;
    const char* advice;
  } cases[] = {
      {std::nullopt, {.starter = "XFCE"}, true, CheckState::Ok, "by XFCE", ""},
      {off, {.starter = "XFCE"}, true, CheckState::Missing, "switched off", "quorlinctl enable"},
      {off, {.starter = "XFCE"}, false, CheckState::Note, "switched off", "quorlinctl enable"},
      {off, {.starter = "systemd, by a unit", .isUnit = true}, true, CheckState::Ok, "by a unit", ""},
      {std::nullopt, {.desktop = "sway"}, true, CheckState::Missing, "sway", "systemctl --user enable"},
      {std::nullopt, {}, true, CheckState::Note, "no desktop", "systemctl --user enable"},
  };
  for (const auto& [entry, session, isWanted, state, finding, advice] : cases) {
    const Finding found = autostartFinding(entry, session, isWanted);
    EXPECT_EQ(found.state, state) << found.line();
    EXPECT_THAT(found.text, HasSubstr(finding));
    EXPECT_THAT(found.advice, HasSubstr(advice));
    EXPECT_EQ(found.advice.empty(), std::string_view(advice).empty());
  }
}

TEST(Checks, FindAProgramInTheFoldersGiven) {
  EXPECT_EQ(checkProgram("sh", "dash", "/nowhere:/bin").text, "sh is installed as /bin/sh.");
  EXPECT_EQ(checkProgram("sh", "dash", "/nowhere").state, CheckState::Missing);
  EXPECT_THAT(checkProgram("sh", "dash", "").advice, HasSubstr("dash"));
}

TEST(Doctor, IsCompleteUnlessSomethingIsMissing) {
  const CheckResult ok{"agent", "agent", {CheckState::Ok, "here"}};
  const CheckResult note{"machine", "the machine", {CheckState::Note, "virtual\x1b[2J"}};
  const CheckResult missing{"agent", "agent", {CheckState::Missing, "It is gone.", "Start it."}};
  EXPECT_TRUE(isComplete({ok, note}));
  EXPECT_FALSE(isComplete({ok, missing}));
  EXPECT_EQ(asNote(missing.finding).state, CheckState::Note);
  EXPECT_EQ(asNote(missing.finding).advice, missing.finding.advice);
  EXPECT_EQ(asNote(ok.finding).state, CheckState::Ok);
  EXPECT_EQ(jsonLineOf({ok}), R"({"complete":true,"checks":[{"id":"agent","state":"ok","subject":"agent",)"
                              R"("finding":"here","advice":null}]})");
  const Appearance ascii{.charset = Charset::Ascii, .colour = false};
  EXPECT_EQ(lineOf(note, ascii), "note     the machine            virtual?[2J");
  EXPECT_THAT(lineOf(missing, ascii), HasSubstr("It is gone. Start it."));
}

}  // namespace
}  // namespace quorlin
