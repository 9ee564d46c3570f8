#include "platform/KeyedArchiver.h"

#include <memory>

#include <gtest/gtest.h>
#include <plist/plist.h>

namespace quorlin {
namespace {

TEST(KeyedArchiver, ReadsBackWhatItWrote) {
  const PropertyList roots[] = {
      Array{},
      Array{0.0, 1.5, 1e300, -2.25, 1.5},
      Array(14, 1.0),
      Array(200, 2.0),
      Array(40'000, 3.0),
      Array{Array{}, Array{1, true, "text"}, Dictionary{{"key", Data{0, 255}}, {"empty", Dictionary{}}}},
      "root text",
      std::int64_t{9'000'000'000'000'000'000},
      Date(std::chrono::seconds(1'700'000'000)),
  };
  for (const PropertyList& root : roots) {
    const std::optional<PropertyList> back = unarchiveRootObject(archivedDataWithRootObject(root));
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, root);
  }
}

Data binaryFromXml(const std::string& objects, const std::string& root) {
  const std::string xml = "<plist version=\"1.0\"><dict><key>$top</key><dict><key>root</key>" + root +
                          "</dict><key>$objects</key><array><string>$null</string>" + objects +
                          "</array></dict></plist>";
  plist_t parsed = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(parsed, &bytes, &size);
  Data data(bytes, bytes + size);
  plist_to_bin_free(bytes);
  plist_free(parsed);
  return data;
}

std::string uid(int index) {
  return "<dict><key>CF$UID</key><integer>" + std::to_string(index) + "</integer></dict>";
}

TEST(KeyedArchiver, RefusesWhatIsNoArchive) {
  const std::string circle = "<dict><key>NS.objects</key><array>" + uid(1) + "</array></dict>";
  std::string doubling;
  for (int i = 1; i < 30; ++i) {
    doubling += "<dict><key>NS.objects</key><array>" + uid(i + 1) + uid(i + 1) + "</array></dict>";
  }
  doubling += "<integer>1</integer>";
  const std::pair<const char*, Data> cases[] = {
      {"nothing", {}},
      {"text", {'t', 'e', 'x', 't'}},
      {"only a header", {'b', 'p', 'l', 'i', 's', 't', '0', '0'}},
      {"a circle", binaryFromXml(circle, uid(1))},
      {"a reference to nowhere", binaryFromXml("", uid(7))},
      {"the null object", binaryFromXml("", uid(0))},
      {"a root that is no reference", binaryFromXml("", "<integer>1</integer>")},
      {"a million times one object", binaryFromXml(doubling, uid(1))},
  };
  for (const auto& [description, bytes] : cases)
    EXPECT_EQ(unarchiveRootObject(bytes), std::nullopt) << description;
}

TEST(KeyedArchiver, EveryTruncationIsRefusedOrRead) {
  const Data whole = archivedDataWithRootObject(Array{1.0, "two", Data{3}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    unarchiveRootObject(Data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
  }
}

}  // namespace
}  // namespace quorlin
