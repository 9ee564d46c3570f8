#include "commands/UrlCommand.h"

#include <limits>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

constexpr const char* kKey = "0123abcd";

TEST(UrlCommand, IsTheWordAndTheArgumentBehindTheKey) {
  const std::pair<const char*, std::optional<UrlCommand>> cases[] = {
      {"/word/argument", UrlCommand{"word", "argument"}},
      {"/terminalcommand/ls%20%2Ftmp", UrlCommand{"terminalcommand", "ls%20%2Ftmp"}},
      {"/word/ls%20/tmp", UrlCommand{"word", ""}},
      {"/word/123/", UrlCommand{"word", ""}},
      {"/word/", UrlCommand{"word", ""}},
      {"/word", UrlCommand{"word", ""}},
      {"//", UrlCommand{"", ""}},
      {"/", UrlCommand{"", ""}},
      {"", std::nullopt},
  };
  for (const auto& [afterTheKey, command] : cases) {
    const std::string url = std::string("scheme://") + kKey + afterTheKey;
    EXPECT_EQ(urlCommand(url, kKey), command) << afterTheKey;
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

TEST(UrlCommand, OfAMegabyteIsReadAsAnyOther) {
  const std::string start = std::string("scheme://") + kKey + "/word/";
  const std::string text(1'000'000, 'x');
  const std::string url = start + text;
  EXPECT_EQ(urlCommand(url, kKey), (UrlCommand{"word", text}));
  EXPECT_EQ(textArgument(text), text);
  const std::string slashes = start + std::string(1'000'000, '/');
  EXPECT_EQ(urlCommand(slashes, kKey), (UrlCommand{"word", ""}));
  EXPECT_EQ(textArgument(std::string(1'000'000, '%')), std::nullopt);
}

TEST(AnArgument, IsReadInTheFormThatItsCommandTakes) {
  using Process = std::numeric_limits<std::int32_t>;
  using Number = std::numeric_limits<std::int64_t>;
  const std::tuple<const char*, std::optional<std::int32_t>, std::optional<std::int64_t>> numbers[] = {
      {"123", 123, 123},
      {" \t\n\v\f\r+123abc", 123, 123},
      {"80%", 80, 80},
      {"99999999999", Process::max(), 99999999999},
      {"99999999999999999999", Process::max(), Number::max()},
      {"-99999999999999999999", std::nullopt, Number::min()},
      {"-9223372036854775808", std::nullopt, Number::min()},
      {"-5", std::nullopt, -5},
      {"0", std::nullopt, 0},
      {"abc", std::nullopt, 0},
      {"+-5", std::nullopt, 0},
      {"--5", std::nullopt, 0},
      {"", std::nullopt, std::nullopt},
  };
  for (const auto& [argument, process, number] : numbers) {
    EXPECT_EQ(processIdArgument(argument), process) << argument;
    EXPECT_EQ(numberArgument(argument), number) << argument;
  }
  const std::pair<const char*, std::optional<std::string>> texts[] = {
      {"ls%20-l", "ls -l"},  {"ls%20%2Ftmp", "ls /tmp"}, {"%C3%A4%25", "\xC3\xA4%"}, {"a%00b", std::nullopt},
      {"a%2", std::nullopt}, {"a%zz", std::nullopt},     {"%ff", std::nullopt},      {"", std::nullopt},
  };
  for (const auto& [argument, text] : texts) EXPECT_EQ(textArgument(argument), text) << argument;
}

}  // namespace
}  // namespace quorlin
