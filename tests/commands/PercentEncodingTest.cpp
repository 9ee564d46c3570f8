#include "commands/PercentEncoding.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

TEST(PercentEncoding, LeavesUnreservedCharactersAndIsUndone) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""},
      {"AZaz09-._~", "AZaz09-._~"},
      {"ls /tmp", "ls%20%2Ftmp"},
      {"100%", "100%25"},
      {"a\n\x7F+&#?:@", "a%0A%7F%2B%26%23%3F%3A%40"},
      {"Größe ☃ 💻", "Gr%C3%B6%C3%9Fe%20%E2%98%83%20%F0%9F%92%BB"},
  };
  for (const auto& [text, encoded] : cases) {
    EXPECT_EQ(percentEncoded(text), encoded);
    EXPECT_EQ(percentDecoded(encoded), text);
  }
  EXPECT_EQ(percentEncoded("\xFF"), "%FF") << "a byte at a time, whatever it belongs to";
}

TEST(PercentEncoding, OfOthersIsUndoneOrRefused) {
  const std::pair<std::string_view, std::optional<std::string>> cases[] = {
      {"%c3%B6", "ö"},   {"a+b c/%2f", "a+b c//"}, {"%2525", "%25"},       {"%", std::nullopt},
      {"a%4", {}},       {"%%20", std::nullopt},   {"%G0", std::nullopt},  {"%0g", std::nullopt},
      {"%+1", {}},       {"%-1", std::nullopt},    {"% 1", std::nullopt},  {"%0x41", std::nullopt},
      {"a%00", {}},      {"%C3", std::nullopt},    {"%FF", std::nullopt},  {"%C0%AF", std::nullopt},
      {"%ED%A0%80", {}}, {"\xC3%B6", "ö"},         {"\xC3", std::nullopt}, {{"a\0b", 3}, {}},
  };
  for (const auto& [text, decoded] : cases) EXPECT_EQ(percentDecoded(text), decoded) << text;
}

TEST(PercentEncoding, TakesAMegabyte) {
  const std::string text(1'000'000, '/');
  EXPECT_EQ(percentDecoded(percentEncoded(text)), text);
}

}  // namespace
}  // namespace quorlin
