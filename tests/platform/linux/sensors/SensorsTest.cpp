#include "platform/linux/sensors/EngineFixture.h"
#include "platform/linux/sensors/FailingReads.h"

#include <array>
#include <cerrno>
#include <set>

#include <gmock/gmock.h>
#include <sys/resource.h>

namespace quorlin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

std::vector<std::string> keysOf(const PropertyList& dictionary) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : *dictionary.dictionary()) keys.push_back(key);
  return keys;
}

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST(Sensors, WhatCannotBeReadIsNotANumberAndIsReportedOnce) {
  const std::pair<const char*, double> cases[] = {
      {"bad.0/temp1", kNaN},   {"bad.0/temp2", kNaN},    {"bad.0/temp3", kNaN},
      {"bad.0/temp4", kNaN},   {"bad.0/temp5", kNaN},    {"bad.0/temp6", kNaN},
      {"bad.0/temp7", kNaN},   {"bad.0/temp8", kNaN},    {"bad.0/temp9", kNaN},
      {"bad.0/temp10", 250.0}, {"bad.0/temp11", -100.0}, {"bad.0/temp12", 40.0},
      {"bad.0/fan1", kNaN},    {"bad.0/fan2", kNaN},     {"bad.0/fan3", 100'000.0},
      {"bad.0/fan4", kNaN},    {"bad.0/fan5", 0.0},      {"nameless.512/temp1", 30.0},
      {"twins/temp1#2", 22.0}, {"labels.0/temp1", 31.0}};
  EngineFixture quirks("quirks");
  for (int i = 0; i < 3; ++i) quirks.tick();
  for (const auto& [name, expected] : cases) {
    SCOPED_TRACE(name);
    const std::string id = std::string("platform/") + name;
    const double value = id.find("fan") == std::string::npos ? quirks.temperature(id) : quirks.fan(id);
    EXPECT_PRED2(isSame, value, expected);
    EXPECT_THAT(quirks.log.lines, Contains(HasSubstr("(" + id + ")")).Times(std::isnan(expected) ? 1 : 0));
  }
  EXPECT_THAT(quirks.log.lines, Contains(HasSubstr("no name")).Times(1));

  const std::size_t lines = quirks.log.lines.size();
  quirks.machine.addChip("platform/late", "hwmon20", "late");
  quirks.tick();
  EXPECT_THAT(quirks.log.lines, SizeIs(lines)) << "finding sensors again repeats no line";
}

TEST(Sensors, ErrorsOfDriversEndWithTheErrorAndAreNoNewsWhileTheyComeAndGo) {
  EngineFixture laptop("laptop");
  FailingReads reads;
  const std::string id = "platform/coretemp.0/temp2";
  const std::string file = laptop.machine.path("sys/devices/platform/coretemp.0/hwmon/hwmon5/temp2_input");
  laptop.tick();
  const std::size_t lines = laptop.log.lines.size();
  for (int i = 0; i < 105; ++i) {
    constexpr std::array errors = {EIO, ENODATA, ENXIO, EAGAIN, ETIMEDOUT, EPERM, EINVAL};
    reads.errors[file] = errors.at(static_cast<std::size_t>(i) % errors.size());
    laptop.tick();
    EXPECT_TRUE(std::isnan(laptop.temperature(id)));
    EXPECT_EQ(laptop.temperature("platform/coretemp.0/temp3"), 51.0);
    reads.errors.clear();
    laptop.tick();
    EXPECT_EQ(laptop.temperature(id), 50.0);
  }
  EXPECT_THAT(laptop.log.lines, SizeIs(lines + 1));
  for (int i = 0; i < 100; ++i) laptop.tick();
  reads.errors[file] = EIO;
  laptop.tick();
  EXPECT_THAT(laptop.log.lines, SizeIs(lines + 2)) << "after long good service trouble is news again";
}

TEST(Sensors, ADescriptorGoneStaleCausesOneNewDiscovery) {
  EngineFixture laptop("laptop");
  FailingReads reads;
  const std::string id = "platform/coretemp.0/temp2";
  const std::string chip = "sys/devices/platform/coretemp.0/hwmon/hwmon5/";
  laptop.tick();
  reads.errors[laptop.machine.path(chip + "temp2_input")] = ENODEV;
  laptop.machine.write(chip + "temp3_label", "Seen once\n");
  laptop.tick();
  laptop.tick();
  EXPECT_EQ(laptop.label("platform/coretemp.0/temp3"), "Seen once");
  laptop.machine.write(chip + "temp3_label", "Seen again\n");
  for (int i = 0; i < 3; ++i) laptop.tick();
  EXPECT_EQ(laptop.label("platform/coretemp.0/temp3"), "Seen once");
  EXPECT_TRUE(std::isnan(laptop.temperature(id)));
}

TEST(Sensors, LabelsAreWhatAPersonReads) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"quirks", "platform/labels.0/temp1", "caf\xEF\xBF\xBD"},
      {"quirks", "platform/labels.0/temp2", "bell  [31m  red"},
      {"quirks", "platform/labels.0/temp3", "labels"},
      {"quirks", "platform/labels.0/temp5", "Twice #2"},
      {"quirks", "platform/labels.0/temp6", "Twice #2 #2"},
      {"quirks", "platform/labels.0/temp7", "Directory (labels)"},
      {"quirks", "platform/nameless.512/temp1", "nameless.512"},
      {"quirks", "platform/nameless.512/fan2", "nameless.512 Fan 2"},
      {"quirks", "platform/twins/temp1", "twin"},
      {"quirks", "platform/twins/temp1#2", "twin #2"},
      {"quirks", "virtual/soft_sensor/temp1", "soft_sensor"},
      {"quirks", "thermal/cpu-thermal#2", "cpu-thermal #2"},
      {"laptop", "platform/coretemp.0/temp2", "Core 0"},
      {"laptop", "platform/thinkpad_hwmon/temp3", "thinkpad Temp 3"},
      {"laptop", "pci0000:00/0000:00:1d.0/0000:3d:00.0/nvme/temp1", "Composite (Exemplar SSD 512GB)"},
      {"laptop", "thermal/acpitz/temp1", "acpitz"},
      {"laptop", "thermal/B0D4", "B0D4"},
      {"laptop", "thermal/x86_pkg_temp", "absent"},
      {"laptop", "thermal/INT3400 Thermal", "absent"},
      {"laptop", "thermal/pch_cannonlake", "absent"},
      {"quirks", "thermal/soft-sensor", "absent"},
      {"quirks", "thermal/own-chip", "absent"},
      {"workstation", "pci0000:00/0000:00:01.2/0000:02:00.0/nvme/temp1", "Composite (Exemplar SSD 2TB) #2"},
      {"workstation", "pci0000:00/0000:00:08.1/ata1/0:0:0/temp1", "Exemplar HDD 4TB"},
  };
  std::map<std::string, EngineFixture> machines;
  for (const auto& [machine, id, label] : cases) {
    const auto [entry, isNew] = machines.try_emplace(machine, machine);
    if (isNew) entry->second.tick();
    EXPECT_EQ(entry->second.label(id), label) << machine << ": " << id;
  }
}

TEST(Sensors, IdsAndLabelsOutliveNewNumbersOfTheirEntries) {
  EngineFixture before("workstation");
  EngineFixture after("workstation");
  for (const char* hwmon : {"hwmon0", "hwmon1", "hwmon2", "hwmon3", "hwmon4", "hwmon5"}) {
    after.machine.renumber(hwmon, std::string("hwmon1") + static_cast<char>('9' - hwmon[5] + '0'));
  }
  before.tick();
  after.tick();
  EXPECT_FALSE(before.statistics.sensors_temperature()->dictionary()->empty());
  EXPECT_EQ(*before.statistics.sensors_temperature(), *after.statistics.sensors_temperature());
  EXPECT_EQ(*before.statistics.sensors_fans(), *after.statistics.sensors_fans());
  EXPECT_EQ(*before.statistics.sensors_temperatureMini(), *after.statistics.sensors_temperatureMini());
}

TEST(Sensors, EverySampleHasTheSameKeysInItsLabelsAndItsData) {
  for (const char* name : {"laptop", "workstation", "quirks", ""}) {
    SCOPED_TRACE(name);
    EngineFixture machine(name);
    const LinuxStatisticsData& statistics = machine.statistics;
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(keysOf(*statistics.sensors_temperature()), keysOf(*statistics.sensors_temperatureData()));
      EXPECT_EQ(keysOf(*statistics.sensors_temperatureMini()),
                keysOf(*statistics.sensors_temperatureMiniData()));
      EXPECT_EQ(keysOf(*statistics.sensors_fans()), keysOf(*statistics.sensors_fansData()));
      const std::vector<std::string> keys = keysOf(*statistics.sensors_temperature());
      EXPECT_EQ(keys.empty(), i == 0 || *name == '\0');
      EXPECT_THAT(std::set(keys.begin(), keys.end()), SizeIs(keys.size()));
      for (const auto& [id, value] : *statistics.sensors_temperatureMiniData()->dictionary())
        EXPECT_TRUE(isSame(*value.real(), machine.temperature(id))) << id;
      machine.tick();
    }
  }
}

TEST(Sensors, OfEveryKindAreFoundReadAndLabelledAsItsRowSays) {
  MachineFixture machine;
  const std::string chip = "sys/devices/platform/board/hwmon/hwmon0/";
  for (const SensorKindRow& row : kSensorKinds) {
    const std::int64_t values[] = {row.least, row.most, row.most + 1};
    for (const int i : {0, 1, 2}) {
      const std::string input = chip + std::string(row.attribute) + std::to_string(i) + "_input";
      machine.write(input, std::to_string(values[i]) + "\n");
    }
  }
  machine.addChip("platform/board", "hwmon0", "board");
  RecordingLog log;
  LinuxSensorsEngine engine(machine.roots(), log, [] { return std::chrono::nanoseconds(0); });
  LinuxStatisticsData fresh;
  const auto reading = engine.getSensorsInfo(fresh);
  const auto& found = dynamic_cast<const LinuxSensorsReading&>(*reading);
  for (const SensorKindRow& row : kSensorKinds) {
    SCOPED_TRACE(row.attribute);
    Dictionary labels;
    for (const char* number : {"0", "1", "2"}) {
      labels.emplace_back("platform/board/" + std::string(row.attribute) + number,
                          "board " + std::string(row.word) + " " + number);
    }
    EXPECT_EQ(*found.catalogue->labels[row.kind], labels);
    const double least = static_cast<double>(row.least) / row.divisor;
    const double most = static_cast<double>(row.most) / row.divisor;
    EXPECT_THAT(found.values[row.kind], ElementsAre(least, most, testing::IsNan()));
  }
}

TEST(Sensors, AKeptDictionaryDoesNotChange) {
  EngineFixture laptop("laptop");
  const std::string id = "platform/coretemp.0/temp1";
  laptop.tick();
  const PropertyList kept = *laptop.statistics.sensors_temperatureData();
  laptop.machine.write("sys/class/hwmon/hwmon5/temp1_input", "70000\n");
  laptop.tick();
  EXPECT_EQ(laptop.temperature(id), 70.0);
  EXPECT_EQ(EngineFixture::number(kept, id), 52.0);
  laptop.machine.write("sys/class/hwmon/hwmon5/temp1_input", "71000\n");
  laptop.tick();
  EXPECT_EQ(laptop.temperature(id), 71.0);
}

TEST(Sensors, ChipsAndZonesComeAndGo) {
  EngineFixture machine;
  machine.tick();
  EXPECT_THAT(keysOf(*machine.statistics.sensors_temperature()), ElementsAre());
  machine.machine.write("sys/devices/platform/a/hwmon/hwmon0/temp1_input", "41000\n");
  machine.machine.addChip("platform/a", "hwmon0", "a");
  machine.tick();
  machine.machine.write("sys/devices/platform/b/hwmon/hwmon1/temp1_input", "42000\n");
  machine.machine.addChip("platform/b", "hwmon1", "b");
  machine.machine.write("sys/class/thermal/thermal_zone0/type", "z\n");
  machine.machine.write("sys/class/thermal/thermal_zone0/temp", "43000\n");
  machine.tick();
  EXPECT_THAT(keysOf(*machine.statistics.sensors_temperatureData()),
              ElementsAre("platform/a/temp1", "platform/b/temp1", "thermal/z"));
  machine.machine.remove("sys/class/hwmon/hwmon0");
  machine.machine.remove("sys/devices/platform/a");
  machine.tick();
  EXPECT_THAT(keysOf(*machine.statistics.sensors_temperatureData()),
              ElementsAre("platform/b/temp1", "thermal/z"));
  machine.machine.remove("sys/class/thermal/thermal_zone0");
  machine.tick();
  EXPECT_THAT(keysOf(*machine.statistics.sensors_temperatureData()), ElementsAre("platform/b/temp1"));
  EXPECT_EQ(machine.temperature("platform/b/temp1"), 42.0);
  machine.machine.remove("sys/class");
  machine.tick();
  machine.machine.addChip("platform/b", "hwmon7", "b");
  machine.machine.link("sys/class/hwmon/hwmon1", "sys/devices/platform/b/hwmon/hwmon1");
  machine.tick();
  EXPECT_EQ(machine.temperature("platform/b/temp1"), 42.0)
      << "the class itself was removed and created again";
  EXPECT_THAT(machine.log.lines, ElementsAre(HasSubstr("diskstats")));
}

TEST(Sensors, HardwareThatSleepsIsNotRead) {
  const std::string parent = "sys/devices/pci0000:00/0000:00:01.0";
  const std::string gpu = parent + "/0000:01:00.0";
  const std::string id = "pci0000:00/0000:00:01.0/0000:01:00.0/temp1";
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"suspended", "active", false},       {"suspending", "active", false},
      {"resuming", "active", false},        {"active", "suspended", true},
      {"unsupported", "suspended", false},  {"unsupported", "active", true},
      {"unsupported", "unsupported", true}, {"error", "suspended", true}};
  for (const auto& [status, parentStatus, isRead] : cases) {
    SCOPED_TRACE(std::string(status) + " below " + parentStatus);
    EngineFixture laptop("laptop");
    laptop.machine.write(parent + "/power/runtime_status", std::string(parentStatus) + "\n");
    laptop.machine.write(gpu + "/power/runtime_status", std::string(status) + "\n");
    FailingReads reads;
    for (int i = 0; i < 3; ++i) laptop.tick();
    EXPECT_EQ(reads.counts[laptop.machine.path(gpu + "/hwmon/hwmon4/temp1_input")], isRead ? 3 : 0);
    EXPECT_PRED2(isSame, laptop.temperature(id), isRead ? 45.0 : kNaN);
    EXPECT_THAT(laptop.log.lines, ElementsAre(HasSubstr("thinkpad Temp 8")));

    for (const std::string& device : {parent, gpu})
      laptop.machine.write(device + "/power/runtime_status", "active\n");
    laptop.tick();
    EXPECT_EQ(laptop.temperature(id), 45.0);
  }
}

const std::string kDrive = "sys/devices/pci0000:00/0000:00:08.1/ata1/host0/target0:0:0/0:0:0:0";
const std::string kDriveId = "pci0000:00/0000:00:08.1/ata1/0:0:0/temp1";

TEST(Sensors, ARotatingDiskIsReadOnlyWithinAMinuteOfItsWork) {
  EngineFixture machine("workstation");
  const std::string input = machine.machine.path(kDrive + "/hwmon/hwmon5/temp1_input");
  FailingReads reads;
  int read = 0;
  const std::tuple<int, int, bool> steps[] = {{0, 10, false}, {3, 10, false}, {3, 11, true}, {30, 11, true},
                                              {30, 11, true}, {1, 11, false}, {3, 12, true}, {61, 13, false},
                                              {3, 13, false}, {60, 14, true}};
  for (const auto& [pause, operations, isRead] : steps) {
    SCOPED_TRACE(testing::Message() << operations << " after " << pause << " s");
    machine.machine.write("proc/diskstats",
                          "8 0 sda " + std::to_string(operations) + " 0 100 0 5 0 60 0 0 0 0\n");
    machine.tick(std::chrono::seconds(pause));
    read += isRead ? 1 : 0;
    EXPECT_EQ(reads.counts[input], read);
    EXPECT_PRED2(isSame, machine.temperature(kDriveId), isRead ? 33.0 : kNaN);
  }
}

TEST(Sensors, ADriveIsNotReadBeforeItsDiskHasAppearedAndAlwaysIfItDoesNotRotate) {
  EngineFixture machine("workstation");
  machine.machine.remove(kDrive + "/block");
  for (int i = 0; i < 2; ++i) {
    machine.tick();
    EXPECT_PRED2(isSame, machine.temperature(kDriveId), kNaN);
  }
  machine.machine.write(kDrive + "/block/sda/queue/rotational", "0\n");
  for (int i = 0; i < 2; ++i) machine.tick();
  EXPECT_EQ(machine.temperature(kDriveId), 33.0);
}

TEST(Sensors, ThousandsAreReadWithFewDescriptors) {
  EngineFixture machine;
  for (int chip = 0; chip < 60; ++chip) {
    const std::string number = std::to_string(chip);
    const std::string directory = "sys/devices/platform/c" + number + "/hwmon/hwmon" + number + "/";
    machine.machine.addChip("platform/c" + number, "hwmon" + number, "c");
    for (int i = 1; i <= 100; ++i) {
      machine.machine.write(directory + "temp" + std::to_string(i) + "_input",
                            std::to_string(chip * 100 + i) + "\n");
    }
  }
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 2; ++i) machine.tick();
  EXPECT_LE(openDescriptors() - before, 512U);
  EXPECT_THAT(*machine.statistics.sensors_temperature()->dictionary(), SizeIs(6000));
  for (const int chip : {0, 31, 59}) {
    for (const int i : {1, 50, 100}) {
      const std::string id = "platform/c" + std::to_string(chip) + "/temp" + std::to_string(i);
      EXPECT_EQ(machine.temperature(id), (chip * 100 + i) / 1000.0) << id;
    }
  }
}

TEST(Sensors, AProcessWithoutDescriptorsFindsItsSensorsLater) {
  EngineFixture early("laptop");
  EngineFixture late("laptop");
  early.tick();
  const std::size_t lines = early.log.lines.size();
  const std::string gpu = "pci0000:00/0000:00:01.0/0000:01:00.0";
  early.machine.write("sys/devices/" + gpu + "/power/runtime_status", "active\n");
  early.machine.addChip("platform/late", "hwmon20", "late");
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none = {.rlim_cur = 3, .rlim_max = limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  for (int i = 0; i < 2; ++i) early.tick();
  late.tick();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  const std::string package = "platform/coretemp.0/temp1";
  EXPECT_EQ(early.temperature(package), 52.0) << "what is open goes on";
  EXPECT_TRUE(std::isnan(early.temperature(gpu + "/temp1")));
  EXPECT_THAT(early.log.lines, SizeIs(lines + 1));
  early.tick();
  late.tick();
  EXPECT_EQ(early.temperature(gpu + "/temp1"), 45.0);
  EXPECT_EQ(late.temperature(package), 52.0);
}

TEST(Sensors, AnEngineWithoutAReadingHoldsNothing) {
  const MachineFixture machine("laptop");
  RecordingLog log;
  const std::size_t before = openDescriptors();
  const SensorsEngineFactory factory = makeLinuxSensorsEngine(machine.roots(), log);
  const std::unique_ptr<QuorlinSensorsEngine> engine = factory.makeEngine();
  const std::unique_ptr<StatisticsData> statistics = factory.makeStatisticsData();
  EXPECT_EQ(openDescriptors(), before);
  statistics->populateStatisticsDataFrom(*engine->getSensorsInfo(*factory.makeStatisticsData()));
  EXPECT_EQ(EngineFixture::number(*statistics->sensors_fansData(), "platform/thinkpad_hwmon/fan1"), 2410.0);
  EXPECT_GT(openDescriptors(), before);
}

}  // namespace
}  // namespace quorlin
