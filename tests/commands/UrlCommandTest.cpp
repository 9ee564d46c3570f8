#include "commands/UrlCommand.h"

#include <limits>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

constexpr const char* kKey = "0123abcd";

TEST(UrlCommand, IsReadFromTheTextOfAUrl) {
  const std::pair<const char*, std::optional<UrlCommand>> cases[] = {
      {"/terminateapp/123", TerminateApp{123}},
      {"/terminateapp/ \t\n\v\f\r+123abc", TerminateApp{123}},
      {"/terminateapp/99999999999", TerminateApp{std::numeric_limits<std::int32_t>::max()}},
      {"/terminateapp/-5", std::nullopt},
      {"/terminateapp/0", std::nullopt},
      {"/terminateapp/abc", std::nullopt},
      {"/terminateapp/+-5", std::nullopt},
      {"/terminateapp/--5", std::nullopt},
      {"/terminateapp/", std::nullopt},
      {"/terminateapp", std::nullopt},
      {"/terminateapp/123/", std::nullopt},
      {"/TerminateApp/123", std::nullopt},
      {"/terminateapp /123", std::nullopt},
      {"/forceterminateapp/7", ForceTerminateApp{7}},
      {"/terminalcommand/ls%20-l", RunTerminal{"ls -l"}},
      {"/terminalcommand/ls%20%2Ftmp", RunTerminal{"ls /tmp"}},
      {"/terminalcommand/ls%20/tmp", std::nullopt},
      {"/terminalcommand/%C3%A4%25", RunTerminal{"\xC3\xA4%"}},
      {"/terminalcommand/a%00b", std::nullopt},
      {"/terminalcommand/a%2", std::nullopt},
      {"/terminalcommand/a%zz", std::nullopt},
      {"/terminalcommand/%ff", std::nullopt},
      {"/terminalcommand/", std::nullopt},
      {"/runworkflow/%2Fhome%2Fme%2Fwork.desktop", RunWorkflow{"/home/me/work.desktop"}},
      {"/runworkflow/", std::nullopt},
      {"/batterylimit/80", SetBatteryLimit{80}},
      {"/batterylimit/-1", SetBatteryLimit{-1}},
      {"/batterylimit/80%", SetBatteryLimit{80}},
      {"/batterylimit/none", SetBatteryLimit{0}},
      {"/batterylimit/+-5", SetBatteryLimit{0}},
      {"/batterylimit/99999999999999999999", SetBatteryLimit{std::numeric_limits<std::int64_t>::max()}},
      {"/batterylimit/-99999999999999999999", SetBatteryLimit{std::numeric_limits<std::int64_t>::min()}},
      {"/batterylimit/-9223372036854775808", SetBatteryLimit{std::numeric_limits<std::int64_t>::min()}},
      {"/batterylimit/", std::nullopt},
      {"/quit/1", std::nullopt},
      {"//", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [afterTheKey, command] : cases) {
    EXPECT_EQ(urlCommand(std::string("scheme://") + kKey + afterTheKey, kKey), command) << afterTheKey;
  }
}

TEST(UrlCommand, NeedsTheKeyInItsPlaceUnlessThereIsNone) {
  for (const auto& [url, accepted] : {std::pair("scheme://0123abcd/batterylimit/80", true),
                                      {"://0123abcd/batterylimit/80", true},
                                      {"any/thing/0123abcd/batterylimit/80", true},
                                      {"scheme://0123ABCD/batterylimit/80", false},
                                      {"scheme://0123abcde/batterylimit/80", false},
                                      {"scheme://0123abc/batterylimit/80", false},
                                      {"scheme:///batterylimit/80", false},
                                      {"scheme:/0123abcd/batterylimit/80", false}})
    EXPECT_EQ(urlCommand(url, "0123abcd").has_value(), accepted) << url;
  for (const char* url : {"scheme://whatever/batterylimit/80", "scheme:///batterylimit/80"})
    EXPECT_TRUE(urlCommand(url, std::nullopt).has_value()) << url;
}

TEST(UrlCommand, OfAMegabyteIsReadOrRefusedAsAnyOther) {
  const std::string start = std::string("scheme://") + kKey + "/terminalcommand/";
  const std::string text(1'000'000, 'x');
  EXPECT_EQ(urlCommand(start + text, kKey), UrlCommand(RunTerminal{text}));
  EXPECT_EQ(urlCommand(start + std::string(1'000'000, '/'), kKey), std::nullopt);
  EXPECT_EQ(urlCommand(start + std::string(1'000'000, '%'), kKey), std::nullopt);
}

}  // namespace
}  // namespace quorlin
