#include "platform/KeyedArchiver.h"
#include "programs/quorlinctl/view/Figures.h"
#include "programs/quorlinctl/view/ReadingBlocks.h"
#include "programs/quorlinctl/view/SampleView.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Character widths come from the locale.
class Rendering : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
  void TearDown() override { std::setlocale(LC_CTYPE, "C"); }

  static SampleView viewWith(int temperatures, const std::string& label = "Core ") {
    Sample sample;
    for (int i = 0; i < temperatures; ++i) {
      const std::string number = std::to_string(i);
      sample.readings[SensorKind::Temperature].push_back(
          {"coretemp/temp" + number, label + number, 30.0 + i * 7});
    }
    sample.readings[SensorKind::Temperature].push_back({"nvme/temp1", "Drive", kUnknownValue});
    sample.readings[SensorKind::Fan].push_back({"board/fan1", "Rear", 812});
    sample.read = {.rates = std::vector<double>(60, 1.5e6), .total = 2e12};
    sample.written = {.rates = {}, .total = kUnknownValue};
    return {.machine = "Wohnzimmer-Rechner mit sehr langem Namen",
            .time = "12:34:56",
            .sample = std::move(sample),
            .silence = {},
            .powerMetrics = "CPU Power: 4.51 W\r\n\n\tThermal Pressure: \x1b[31m0.0 %\nno colon\n",
            .batteryLimit = 80,
            .batteries = {{.state = kNotCharging, .percent = 80}}};
  }

  static std::string textOf(const SampleView& view, ViewSize size = {},
                            Appearance appearance = {.charset = Charset::Unicode, .colour = false}) {
    std::string text;
    for (const std::string& line : renderView(view, size, appearance)) text += line + "\n";
    return text;
  }
};

TEST_F(Rendering, StaysWithinEveryTerminalAndCountsWhatItHides) {
  const std::regex renditions("\x1b\\[[0-9;]*m");
  for (const int columns : {1, 12, 40, 80, 120, 200}) {
    for (const int rows : {1, 2, 3, 5, 8, 12, 15, 20, 24, 60}) {
      for (const int temperatures : {0, 1, 9, 70}) {
        SCOPED_TRACE(testing::Message() << columns << "x" << rows << ", " << temperatures << " sensors");
        const SampleView view = viewWith(temperatures);
        const ViewSize size = {.columns = columns, .rows = rows};
        const std::string text = textOf(view, size);
        const std::string coloured = textOf(view, size, {.charset = Charset::Unicode, .colour = true});
        EXPECT_EQ(std::regex_replace(coloured, renditions, ""), text);
        EXPECT_LE(std::ranges::count(text, '\n'), rows);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
          EXPECT_LE(columnsOf(line, Charset::Unicode), columns) << line;
        if (columns < 40 || rows < 3) continue;
        int shown = 0;
        for (const char* const what : {" °C", "Drive", "Rear", "CPU Power", "Thermal Pressure", "no colon",
                                       "Held at limit", "Charge limit"}) {
          for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++shown;
        }
        if (const auto more = text.find(" more reading"); more != std::string::npos)
          shown += std::atoi(text.c_str() + text.rfind(' ', more - 1));
        EXPECT_EQ(shown, temperatures + 7) << text;
      }
    }
  }
}

TEST_F(Rendering, ShowsEverythingInAReportWithUnits) {
  const std::string text = textOf(viewWith(70));
  const std::string power = "Power\n  CPU Power" + std::string(55, ' ') + "4.51 W\n";
  for (const std::string_view part :
       {"12:34:56", "Core 69", "513.0 °C", "Storage", "812 RPM", "1.50 MB/s", "read 2.00 TB", "written —",
        "\n  Held at limit                               ━━━━━━━━━━━━━───      80 %\n", power.c_str()})
    EXPECT_THAT(text, HasSubstr(part));
  EXPECT_THAT(text, testing::ContainsRegex("Drive .* —\n"));
}

TEST_F(Rendering, GivesALongValueTheRoomThatItsLabelLeaves) {
  SampleView view;
  view.sample.emplace();
  view.powerMetrics = "CPU Power: unavailable (no RAPL energy counters)\nA very long name of a thing: 1.00 W";
  EXPECT_THAT(textOf(view), HasSubstr(" unavailable (no RAPL energy counters)\n"));
  EXPECT_THAT(textOf(view, {.columns = 30, .rows = 30}),
              HasSubstr("\n  CPU Power unavailable (no R…\n  A very long name of … 1.00 W\n"));
}

TEST(ReadingBlocks, NameTheBatteryByWhatBecomesOfIt) {
  using Rows = std::vector<std::string>;
  const std::tuple<Battery, std::optional<std::int64_t>, Rows, Tone> cases[] = {
      {{kOnBattery, 20}, 100, {"On battery 20 %"}, Tone::Warm},
      {{kOnBattery, 10}, 0, {"On battery 10 %"}, Tone::Hot},
      {{kOnBattery, std::nullopt}, 99, {"On battery —", "Charge limit 99 %"}, Tone::Plain},
      {{kCharging, 5}, 80, {"Charging 5 %", "Charge limit 80 %"}, Tone::Plain},
      {{kNotCharging, 79}, 80, {"Not charging 79 %", "Charge limit 80 %"}, Tone::Plain},
      {{kNotCharging, 81}, 80, {"Held at limit 81 %", "Charge limit 80 %"}, Tone::Plain},
      {{kNotCharging, 81}, std::nullopt, {"Not charging 81 %"}, Tone::Plain},
      {{kNotCharging, 100}, 100, {"Full 100 %"}, Tone::Plain},
      {{kNotCharging, 0, true}, 100, {"Charger too weak 0 %"}, Tone::Hot},
      {{kNotCharging, 60, true}, 100, {"Charger too weak 60 %"}, Tone::Warm},
  };
  EXPECT_TRUE(batteryBlock({}, 80).rows.empty());
  EXPECT_EQ(batteryBlock({{kCharging, 50}, {kNotCharging, 7}}, 80).rows[1].label, "Not charging (battery 2)");
  for (const auto& [battery, limit, expected, tone] : cases) {
    const ReadingBlock block = batteryBlock({battery}, limit);
    Rows rows;
    for (const ReadingRow& row : block.rows) rows.push_back(row.label + " " + row.value);
    EXPECT_EQ(rows, expected);
    if (rows.empty()) continue;
    EXPECT_EQ(block.rows.front().tone, tone) << rows.front();
    EXPECT_EQ(block.rows.front().fill.has_value(), battery.percent.has_value()) << rows.front();
  }
}

TEST(ReadingBlocks, OfOnePartAreOneAndKeepTheirOrder) {
  Sample sample;
  sample.readings[SensorKind::Temperature] = {
      {"power_supply/bat0", "BAT0", 30}, {"spd5118/temp1", "", 35}, {"coretemp/temp1", "Core 0", 40}};
  sample.readings[SensorKind::Fan] = {{"board/fan1", "Rear", 812}};
  std::vector<ReadingBlock> blocks = sensorBlocks(sample);
  insertAfterProcessor(blocks, batteryBlock({{kCharging, 50}}, std::nullopt));
  insertAfterProcessor(blocks, powerBlock("CPU Power: 1 W"));
  insertAfterProcessor(blocks, powerBlock(""));
  std::vector<std::string> titles;
  for (const ReadingBlock& block : blocks) titles.push_back(block.title);
  EXPECT_THAT(titles, ElementsAre("Processor", "Power", "Battery", "Fans", "Memory"));
  EXPECT_EQ(blocks[2].rows.back().label, "BAT0");
}

TEST_F(Rendering, LetsNoControlCharacterOfALabelThrough) {
  const std::string hostile =
      "\x1b[2J\x07\r\n\xC2\x9B"
      "31m\u202Eevil\u200B\xFF\x7F 長い名前のディスク e\u0301\u0302\u0303\u0304\u0305\u0306";
  for (const Charset charset : {Charset::Unicode, Charset::Ascii}) {
    const auto lines =
        renderView(viewWith(3, hostile), {.columns = 80, .rows = 40}, {.charset = charset, .colour = false});
    for (const std::string& line : lines) {
      EXPECT_LE(columnsOf(line, charset), 80);
      for (const char* const bad : {"\xC2\x9B", "\u202E", "\u200B"}) EXPECT_THAT(line, Not(HasSubstr(bad)));
      for (const char byte : line) {
        const auto value = static_cast<unsigned char>(byte);
        EXPECT_TRUE(value >= 0x20 && value != 0x7F && (charset == Charset::Unicode || value < 0x80)) << line;
      }
    }
  }
}

TEST_F(Rendering, SaysWhatItWaitsForAndThatThereIsNothing) {
  SampleView view;
  EXPECT_THAT(textOf(view, {.columns = 80, .rows = 24}), HasSubstr("waiting for the agent…"));
  view.silence = "the agent runs, but says nothing";
  EXPECT_THAT(textOf(view, {.columns = 18, .rows = 24}), HasSubstr("\nthe agent runs,\nbut says nothing\n"));
  view.sample.emplace();
  EXPECT_THAT(textOf(view, {.columns = 80, .rows = 24}), HasSubstr("has no sensors"));
}

TEST_F(Rendering, CutsTextBetweenCharactersAndCountsTheirColumns) {
  const std::tuple<std::string_view, int, Charset, std::string_view> cases[] = {
      {"abc", 3, Charset::Unicode, "abc"},
      {"長い名", 5, Charset::Unicode, "長い…"},
      {"長い名", 4, Charset::Unicode, "長…"},
      {"e\u0301x", 2, Charset::Unicode, "e\u0301x"},
      {"\u0301x", 2, Charset::Unicode, "x"},
      {"a\tb\x9F", 9, Charset::Unicode, "a\uFFFDb\uFFFD"},
      {"4 °C — é長", 20, Charset::Ascii, "4 C - e?"},
      {"abcd", 3, Charset::Ascii, "ab."},
      {"abc", 0, Charset::Unicode, ""},
  };
  for (const auto& [text, columns, charset, shown] : cases) {
    std::string result;
    for (const Cell& cell : cellsWithin(text, columns, charset)) result += cell.bytes;
    EXPECT_EQ(result, shown);
  }
}

TEST(Figures, NameTheirUnits) {
  const std::pair<std::string, std::string_view> cases[] = {
      {readingText(SensorKind::Temperature, 45.25), "45.2 °C"},
      {readingText(SensorKind::Temperature, -0.04), "0.0 °C"},
      {readingText(SensorKind::Fan, 1199.6), "1200 RPM"},
      {readingText(SensorKind::Fan, kUnknownValue), "—"},
      {percentText(std::nullopt), "—"},
      {bytesText(999.4), "999 B"},
      {bytesText(999.5), "1.00 kB"},
      {bytesText(9.996e6), "10.0 MB"},
      {bytesText(99.96e9), "100 GB"},
      {bytesText(-1), "—"},
      {rateText(123.4e6), "123 MB/s"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(text, expected);
}

TEST(Figures, DrawTheLastValuesOnACommonScale) {
  const std::tuple<std::vector<double>, int, double, std::string_view> cases[] = {
      {{}, 5, 1, ""},
      {{0, 1, 2, 3, 4, 5, 6, 7, 8}, 9, 0, "▁▂▃▄▅▆▇██"},
      {{4, kUnknownValue, 8}, 3, 8, "▅ █"},
      {{9, 1, 2}, 2, 0, "▅█"},
      {{1, 2}, 2, 800, "▁▁"},
      {{-5, 8, 1e300}, 3, 1, "▁▁█"},
      {{1}, -3, 1, ""},
  };
  for (const auto& [values, columns, leastScale, line] : cases)
    EXPECT_EQ(sparkline(values, columns, leastScale), line);
}

TEST(Sample, IsUnderstoodFromWhateverTheSenderLeftOut) {
  const Sample sample = sampleOf({{"sensors", Dictionary{{"b", "B"}, {"a", 7}, {"c", "C"}}},
                                  {"sensorsData", Dictionary{{"a", 40}, {"b", 50.5}, {"c", "hot"}}},
                                  {"fans", "none"},
                                  {"readDiskIOData", archivedDataWithRootObject(Array{1, 2.5})},
                                  {"writeDiskIOData", Data{1, 2, 3}},
                                  {"readDiskIOBytes", 1000}});
  std::string readings;
  for (const Reading& reading : sample.readings[SensorKind::Temperature])
    readings += reading.label + readingText(SensorKind::Temperature, reading.value);
  EXPECT_EQ(readings, "B50.5 °Ca40.0 °CC—");
  EXPECT_TRUE(sample.readings[SensorKind::Fan].empty());
  EXPECT_THAT(sample.read.rates, ElementsAre(1, 2.5));
  EXPECT_EQ(sample.read.total, 1000);
  EXPECT_TRUE(sample.written.rates.empty());
  EXPECT_TRUE(std::isnan(sample.written.total));
}

}  // namespace
}  // namespace quorlin
