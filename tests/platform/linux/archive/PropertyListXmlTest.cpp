#include "platform/PropertyListXml.h"

#include <string>

#include <gtest/gtest.h>

namespace quorlin {
namespace {

std::optional<PropertyList> read(const std::string& inner) {
  const std::string text = "\xEF\xBB\xBF<plist version=\"1.0\">" + inner + "</plist>";
  return propertyListFromXml(Data(text.begin(), text.end()));
}

std::string nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<array>";
  for (int i = 0; i < depth; ++i) text += "</array>";
  return text;
}

TEST(PropertyListXml, HoldsEveryKindOfValue) {
  const std::pair<std::string, PropertyList> cases[] = {
      {"<string/>", ""},
      {"<string> &lt;&amp;&#65;<![CDATA[<b>]]><!-- c --> </string>", " <&A<b> "},
      {"<integer> -12 </integer>", -12},
      {"<integer>0X1F</integer>", 31},
      {"<integer>+7</integer>", 7},
      {"<integer>18446744073709551615</integer>", 18446744073709551615.0},
      {"<real>-infinity</real>", -std::numeric_limits<double>::infinity()},
      {"<real>1.5e3</real>", 1500.0},
      {"<true/>", true},
      {"<false></false>", false},
      {"<date>2026-01-02T03:04:05Z</date>", Date(std::chrono::seconds(1767323045))},
      {"<data>\n AAH/\n</data>", Data{0, 1, 255}},
      {"<array><array/><dict/></array>", Array{Array{}, Dictionary{}}},
      {" <dict> <key>b</key><integer>1</integer> <key>a b</key><array><true/></array></dict> ",
       Dictionary{{"b", 1}, {"a b", Array{true}}}},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(read(text), value) << text;
  EXPECT_TRUE(read(nested(64)).has_value());
}

TEST(PropertyListXml, RefusesWhatIsNone) {
  for (const std::string& text : {
           std::string(),
           std::string("<string>a"),
           std::string("<string>a</array>"),
           std::string("text"),
           std::string("<true/><true/>"),
           std::string("<array>text</array>"),
           std::string("<dict><true/></dict>"),
           std::string("<dict><key>a</key></dict>"),
           std::string("<dict><key>a</key><key>b</key></dict>"),
           std::string("<array><key>a</key></array>"),
           std::string("<key>a</key>"),
           std::string("<string><true/></string>"),
           std::string("<integer>0x-5</integer>"),
           std::string("<integer>+-5</integer>"),
           std::string("<integer>1x</integer>"),
           std::string("<integer/>"),
           std::string("<real>one</real>"),
           std::string("<date>today</date>"),
           std::string("<true>yes</true>"),
           std::string("<data>AA!A</data>"),
           std::string("<other/>"),
           std::string("<plist/>"),
           std::string("<string>&unknown;</string>"),
           std::string("<string>&#0;</string>"),
           std::string("<string>\xFF</string>"),
           nested(65),
           nested(300'000),
       }) {
    EXPECT_EQ(read(text), std::nullopt) << text.substr(0, 100);
  }
  const std::string entities =
      "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\"><!ENTITY file SYSTEM "
      "\"file:///etc/passwd\">]>";
  for (const std::string& text :
       {std::string("<string>a</string>"), std::string("<plist><true/></plist><plist><true/></plist>"),
        std::string("bplist00"), std::string("<plist><true/>"),
        entities + "<plist><string>&b;</string></plist>",
        entities + "<plist><string>&file;</string></plist>"}) {
    EXPECT_EQ(propertyListFromXml(Data(text.begin(), text.end())), std::nullopt) << text;
  }
}

TEST(PropertyListXml, IsReadUpToItsBounds) {
  std::string entities;
  while (entities.size() < 4'000'000) entities += "&amp;";
  EXPECT_EQ(*read("<string>" + entities + "</string>")->string(), std::string(800'000, '&'));
  std::string elements;
  while (elements.size() < 4'000'000) elements += "<string>abc</string>";
  EXPECT_EQ(read("<array>" + elements + "</array>")->array()->size(), 200'000U);
  EXPECT_EQ(read("<string>" + std::string(9'000'000, 'a') + "</string>"), std::nullopt);
}

}  // namespace
}  // namespace quorlin
