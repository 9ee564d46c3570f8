#include "probes/SmcClient.h"

#include <bit>
#include <cstring>
#include <limits>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorlin {
namespace {

struct Answer {
  std::string type;
  std::uint32_t size = 0;
  std::vector<std::uint8_t> bytes = {};
  /// Of the first call and the second.
  std::array<std::uint32_t, 2> results = {};
  std::array<std::uint8_t, 2> refusals = {};
};

/// Gives one answer to every key.
struct FakeConnection final : SmcConnection {
  explicit FakeConnection(Answer given) : answer(std::move(given)) {}

  std::uint32_t exchange(std::uint32_t method, const SmcRecord& input, SmcRecord& output) override {
    EXPECT_EQ(method, 2U);
    questions.push_back(std::bit_cast<std::array<char, 80>>(input));
    const bool isSecond = input.command == 5;
    output.result = answer.refusals[isSecond];
    if (isSecond) std::ranges::copy(answer.bytes, output.bytes.begin());
    if (!isSecond) output.keyInfo.dataSize = answer.size;
    if (!isSecond) answer.type.copy(output.keyInfo.dataType.data(), 4);
    return answer.results[isSecond];
  }
  std::uint32_t close() override { return 0xE00002C2; }

  Answer answer;
  std::vector<std::array<char, 80>> questions;
};

TEST(SmcClient, PacksFourCharactersIntoAKey) {
  EXPECT_EQ(smcKeyFromText("TC0Pxy"), 0x54433050U);
  EXPECT_EQ(smcKeyFromText("T\xFFz"), 0x54000000U - 0x10000U + 0x7A00U);
  EXPECT_STREQ(smcKeyToText(0x54433050).data(), "TC0P");
}

TEST(SmcClient, AsksForSizeAndTypeThenForBytes) {
  FakeConnection connection({.type = "flt ", .size = 0x01010101, .bytes = {1, 2, 3}, .refusals = {1, 1}});
  SmcValue value;
  EXPECT_EQ(smcReadKey("TC0Pxy", value, connection), 0U);
  std::array<char, 80> info{};
  std::memcpy(info.data(), "P0CT", 4);
  info[42] = 9;
  std::array<char, 80> read = info;
  std::fill_n(&read[28], 4, '\1');
  read[42] = 5;
  EXPECT_THAT(connection.questions, testing::ElementsAre(info, read));
  EXPECT_STREQ(value.key.data(), "TC0P");
  EXPECT_STREQ(value.dataType.data(), "flt ");
  EXPECT_EQ(value.dataSize, 0x01010101U);
  EXPECT_EQ(value.bytes, (SmcBytes{1, 2, 3}));

  connection.answer.results = {0, 8};
  EXPECT_EQ(smcReadKey("TC0P", value, connection), 8U);
  EXPECT_EQ(value.bytes, SmcBytes{});
  connection.answer.results = {7, 8};
  EXPECT_EQ(smcReadKey("TC0P", value, connection), 7U);
  EXPECT_EQ(connection.questions.size(), 5U);
  EXPECT_EQ(smcClose(std::make_unique<FakeConnection>(Answer())), 0xE00002C2U);
}

TEST(SmcClient, ConvertsWhatItReads) {
  const std::tuple<Answer, double, float, std::uint32_t> cases[] = {
      {{"sp78", 2, {0x28, 0x00}}, 40.0, 0, 0},
      {{"sp78", 2, {0x28, 0x80}}, 39.5, 0, 0x80},
      {{"sp78", 2, {0x80, 0x80}}, -128.5, 0, 0x80},
      {{"fpe2", 2, {0x17, 0x70}}, -1.0, 1500.0F, 0x70},
      {{"fpe2", 2, {0xFF, 0xFF}}, -1.0, 16383.75F, 0xFF},
      {{"flt ", 4, {0x00, 0x88, 0xBB, 0xC4}}, -1500.25, -1500.25F, 0xC4},
      {{"flt", 4, {0x00, 0x88}}, -1.0, 0, 0},
      {{"ui16", 2, {0x01, 0x02}}, -1.0, 0, 2},
      {{"sp78", 0, {0x28, 0x28}}, -1.0, 0, 0},
      {{"fpe2", 0, {0x17, 0x70}}, -1.0, 0, 0},
      {{"sp78", 2, {0x28, 0x28}, {0, 5}}, -1.0, 0, 0},
      {{"sp78", 2, {0x28, 0x00}, {}, {0x84, 0x84}}, 40.0, 0, 0},
  };
  for (const auto& [answer, number, speed, whole] : cases) {
    SCOPED_TRACE(answer.type + testing::PrintToString(answer.bytes));
    FakeConnection connection(answer);
    EXPECT_EQ(smcReadDouble("TC0P", connection), number);
    EXPECT_EQ(smcReadUInt("TC0P", connection), whole);
    EXPECT_EQ(smcReadFanSpeed(7, connection), speed);
    EXPECT_EQ(std::bit_cast<SmcRecord>(connection.questions.back()).key, smcKeyFromText("F7Ac"));
  }
}

TEST(SmcClient, AddsShiftedBytes) {
  SmcBytes many{1, 2, 3, 4, 0x80};
  many[31] = 6;
  EXPECT_EQ(smcBytesToUInt({0x80, 0x01}, 2, 16), 0xFFFF8001U);
  EXPECT_EQ(smcBytesToUInt({0x80, 0x01}, 2, 10), 1U);
  EXPECT_EQ(smcBytesToUInt(many, 5, 16), 0x02030400U - 0x80U);
  EXPECT_EQ(smcBytesToUInt(many, 33, 16), 6U);
  EXPECT_EQ(smcBytesToUInt(many, std::numeric_limits<std::int32_t>::max(), 10), 6U);
  EXPECT_EQ(smcBytesToUInt(many, std::numeric_limits<std::int32_t>::min(), 16), 0U);
}

TEST(SmcClient, ReadsAFansNameUpToItsFirstSpaceAndKnowsTenFans) {
  const std::vector<std::uint8_t> left = {0, 1, 2, 3, 'L', 'e', 'f', 't', ' ', 's'};
  const std::vector<std::uint8_t> full(16, 'f');
  const std::pair<Answer, std::string_view> cases[] = {
      {{"{fds", 16, left}, "Left########"},
      {{"{fds", 16, full, {0x4000, 0xE0000000}, {0, 1}}, "ffffffffffff"},
      {{"{fds", 16, left, {0, 0}, {1, 0}}, "############"},
      {{"{fds", 16, left, {0x2000, 0}}, "############"},
      {{"{fds", 16, left, {0, 0xE0000001}}, "############"},
      {{"{fds", 15, left}, "############"},
      {{"{fdx", 16, left}, "############"},
  };
  for (const auto& [answer, name] : cases) {
    FakeConnection connection(answer);
    std::string buffer(12, '#');
    EXPECT_EQ(smcReadFanName(0, std::span<char, 12>(buffer), connection), name.front() == '#' ? 0 : 1);
    EXPECT_EQ(buffer, name);
    EXPECT_EQ(std::bit_cast<SmcRecord>(connection.questions.front()).key, smcKeyFromText("F0ID"));
  }
  FakeConnection connection({});
  EXPECT_EXIT(smcReadFanSpeed(-1, connection), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(smcReadFanSpeed(10, connection), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace quorlin
