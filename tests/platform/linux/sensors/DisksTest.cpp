#include "platform/linux/sensors/EngineFixture.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::HasSubstr;

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

std::vector<double> activity(const EngineFixture& machine, std::size_t which) {
  const Array activities = machine.statistics.diskIO_activities();
  EXPECT_EQ(activities.size(), 2U);
  std::vector<double> rates;
  for (const PropertyList& rate : *activities.at(which).array()) rates.push_back(*rate.real());
  EXPECT_EQ(rates.size(), 60U);
  return rates;
}

DiskCounters disk(const char* name, std::uint64_t read, std::uint64_t written) {
  return {.name = name, .operations = 0, .sectorsRead = read, .sectorsWritten = written};
}

TEST(DiskRates, AreSummedOverTheDisksThatBothReadingsHave) {
  using Counters = std::vector<DiskCounters>;
  const std::tuple<const char*, Counters, Counters, milliseconds, DiskRates> cases[] = {
      {"no disk", {}, {}, seconds(3), {0, 0}},
      {"one disk", {disk("a", 10, 20)}, {disk("a", 16, 32)}, seconds(3), {1024, 2048}},
      {"the real time", {disk("a", 0, 0)}, {disk("a", 10, 5)}, milliseconds(2500), {2048, 1024}},
      {"two disks",
       {disk("a", 1, 1), disk("b", 1, 1)},
       {disk("a", 2, 3), disk("b", 4, 1)},
       seconds(1),
       {2048, 1024}},
      {"another order",
       {disk("a", 1, 1), disk("b", 9, 9)},
       {disk("b", 9, 10), disk("a", 2, 1)},
       seconds(1),
       {512, 512}},
      {"a new disk", {disk("b", 1, 1)}, {disk("a", 900, 900), disk("b", 2, 1)}, seconds(1), {512, 0}},
      {"a vanished disk", {disk("a", 900, 900), disk("b", 1, 1)}, {disk("b", 1, 2)}, seconds(1), {0, 512}},
      {"backwards", {disk("a", 100, 100)}, {disk("a", 99, 101)}, seconds(1), {0, 512}},
      {"a counter gone astray", {disk("a", 5, 1)}, {disk("a", kMost, 2)}, seconds(3600), {0, 512.0 / 3600}},
      {"a counter back from there",
       {disk("a", 5, 1)},
       {disk("a", 1'000'000'000'000, 2)},
       seconds(3),
       {0, 512.0 / 3}},
      {"a wrap", {disk("a", kMost, 5)}, {disk("a", 3, 6)}, seconds(1), {0, 512}},
  };
  for (const auto& [what, before, after, elapsed, expected] : cases) {
    const DiskRates rates = ratesBetween(before, after, elapsed);
    EXPECT_EQ(rates.read, expected.read) << what;
    EXPECT_EQ(rates.write, expected.write) << what;
  }
}

TEST(DiskTotals, StopAtWhatANumberHolds) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  const DiskTotals totals =
      totalsOf({disk("a", kMost, 2), disk("b", 7, kMost / 1024), disk("c", 1, kMost / 1024)});
  EXPECT_EQ(totals.read, most);
  EXPECT_EQ(totals.write, most);
  EXPECT_EQ(totalsOf({disk("a", kMost / 512 + 2, 0)}).read, most);
  EXPECT_EQ(totalsOf({disk("a", 3, 4), disk("b", 5, 6)}).read, 8 * 512);
}

TEST(Disks, CountWhereThereIsHardwareBehindThem) {
  EngineFixture quirks("quirks");
  quirks.tick();
  EXPECT_EQ(*quirks.statistics.diskIO_read(), PropertyList((100 + 10'000) * 512));
  EXPECT_EQ(*quirks.statistics.diskIO_write(), PropertyList((200 + 20'000) * 512));
}

TEST(Disks, KeepTheLastSixtyRatesAndStartOverAfterAPause) {
  EngineFixture machine("quirks");
  std::uint64_t sectors = 1000;
  const auto tick = [&](std::uint64_t more, seconds pause) {
    sectors += more;
    machine.machine.write("proc/diskstats", "8 0 sda 1 0 " + std::to_string(sectors) + " 0 1 0 " +
                                                std::to_string(2 * sectors) + " 0 0 0 0\n");
    machine.tick(pause);
  };
  const std::vector<double> zeros(60, 0.0);
  EXPECT_EQ(activity(machine, 0), zeros);
  tick(0, seconds(3));
  EXPECT_EQ(activity(machine, 1), zeros) << "the first reading is a baseline";

  std::vector<double> read = zeros;
  std::vector<double> write = zeros;
  for (std::uint64_t i = 1; i <= 70; ++i) {
    tick(3 * i, seconds(3));
    read.push_back(512.0 * static_cast<double>(i));
    write.push_back(1024.0 * static_cast<double>(i));
  }
  EXPECT_EQ(activity(machine, 0), std::vector<double>(write.end() - 60, write.end()));
  EXPECT_EQ(activity(machine, 1), std::vector<double>(read.end() - 60, read.end()));

  tick(30, seconds(30));
  EXPECT_EQ(activity(machine, 1).back(), 512.0);
  tick(3000, seconds(31));
  EXPECT_EQ(activity(machine, 1), zeros);
  tick(6, seconds(3));
  std::vector<double> restarted = zeros;
  restarted.back() = 1024.0;
  EXPECT_EQ(activity(machine, 1), restarted);
}

TEST(Disks, ThatCannotBeReadAreZerosAndHarmNoSensor) {
  const char* texts[] = {"no numbers at all\n",
                         "8 0\n",
                         "8 0 sda\n",
                         "8 0 sda 1 2 3 4 5 6\n",
                         "8 0 sda 1 2 3x 4 5 6 7 8\n",
                         "8 0 sda 1 2 -3 4 5 6 7 8\n",
                         "8 0 sda 1 2 99999999999999999999 4 5 6 7 8\n"};
  const auto expectZeros = [](EngineFixture& machine) {
    for (int i = 0; i < 3; ++i) machine.tick();
    EXPECT_EQ(*machine.statistics.diskIO_read(), PropertyList(0));
    EXPECT_EQ(*machine.statistics.diskIO_write(), PropertyList(0));
    EXPECT_EQ(activity(machine, 0), std::vector<double>(60, 0.0));
    EXPECT_EQ(activity(machine, 1), std::vector<double>(60, 0.0));
    EXPECT_EQ(machine.temperature("platform/twins/temp1"), 21.0);
    EXPECT_THAT(machine.log.lines, Contains(HasSubstr("diskstats")).Times(1));
  };
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    EngineFixture machine("quirks");
    machine.tick();
    machine.machine.write("proc/diskstats", text);
    expectZeros(machine);
  }
  EngineFixture missing("quirks");
  missing.machine.remove("proc");
  expectZeros(missing);
  missing.machine.write("proc/diskstats", "8 0 sda 1 0 2 0 1 0 3 0 0 0 0\n");
  missing.tick();
  EXPECT_EQ(*missing.statistics.diskIO_read(), PropertyList(1024));
}

TEST(Disks, OneMalformedLineHarmsNoOtherDisk) {
  EngineFixture machine("quirks");
  machine.machine.write("proc/diskstats",
                        "8 0 sda 1 0 2 0 1 0 3 0 0 0 0\n\ngarbage\n\n8 0 sda 1 0 x 0 1 0 3 0 0 0 0\n");
  for (int i = 0; i < 3; ++i) machine.tick();
  EXPECT_EQ(*machine.statistics.diskIO_read(), PropertyList(1024));
  EXPECT_THAT(machine.log.lines, Contains(HasSubstr("malformed line")).Times(1));
}

}  // namespace
}  // namespace quorlin
