#include "platform/KeyedArchiver.h"
#include "programs/quorlinctl/view/Json.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace quorlin {
namespace {

Date dateOf(std::int64_t microseconds) { return Date(std::chrono::microseconds(microseconds)); }

TEST(Json, IsWrittenForEveryKindOfValue) {
  const std::pair<PropertyList, std::string_view> cases[] = {
      {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
      {42.5, "42.5"},
      {std::nan(""), "null"},
      {-std::numeric_limits<double>::infinity(), "null"},
      {true, "true"},
      {"a\"\\\n\x01", R"("a\"\\\n\u0001")"},
      {"\x1b\x7F\u0080\u009F\u00A0", "\"\\u001b\\u007f\\u0080\\u009f\u00A0\""},
      {Dictionary{{"\u061C\u200F", "\u2028\u202E\u2069"}}, R"({"\u061c\u200f":"\u2028\u202e\u2069"})"},
      {"caf\xC3\xA9 \xFF\xC0\xAF", "\"café \uFFFD\uFFFD\uFFFD\""},
      {Data{'M'}, R"("TQ==")"},
      {Data{'M', 'a'}, R"("TWE=")"},
      {Data{'M', 'a', 'n', 0xFF}, R"("TWFu/w==")"},
      {archivedDataWithRootObject(Array{1.5, std::nan("")}), "[1.5,null]"},
      {dateOf(951'782'400'000'000), R"("2000-02-29T00:00:00Z")"},
      {dateOf(-1), R"("1969-12-31T23:59:59.999999Z")"},
      {Date::max(), "null"},
      {Dictionary{{"b", 1}, {"a", Array{}}, {"b", 2}, {"\xFE", Dictionary{}}},
       "{\"b\":1,\"a\":[],\"\uFFFD\":{}}"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(textOf(jsonOf(value)), text);
}

TEST(Json, OfANotificationIsOneLineWithNullForNoObject) {
  const Notification notification = {.name = "N", .object = std::nullopt, .userInfo = {}};
  const std::string start = R"({"name":"N","object":null,"userInfo":{},"battery":)";
  const std::string unknown = R"({"state":"on-battery","percent":null})";
  const std::string drained = R"({"state":"discharging","percent":0})";
  const Battery first{kOnBattery, std::nullopt};
  EXPECT_EQ(jsonLineOf(notification, {{first}}), start + unknown + "}");
  EXPECT_EQ(jsonLineOf(notification, {{first, {kNotCharging, 0, true}}}),
            start + unknown + R"(,"batteries":[)" + unknown + "," + drained + "]}");
  EXPECT_EQ(jsonLineOf(notification, std::vector<Battery>()), start + R"({"state":"none","percent":null}})");
  EXPECT_EQ(jsonLineOf({.name = "N", .object = "o\n", .userInfo = {{"version", 12}}}),
            R"({"name":"N","object":"o\n","userInfo":{"version":12}})");
}

}  // namespace
}  // namespace quorlin
