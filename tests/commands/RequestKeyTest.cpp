#include "commands/RequestKey.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

using namespace std::string_view_literals;

TEST(RequestKey, IsTheBeginningOfTheNamesDigest) {
  // Digests from RFC 1321, appendix A.5.
  EXPECT_EQ(md5HexDigest(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5HexDigest("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5HexDigest("abc\0def"sv), "900150983cd24fb0d6963f7d28e17f72") << "up to the first zero byte";
  EXPECT_EQ(requestKey("message digest"), "f96b697d");
  EXPECT_EQ(requestKey(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace quorlin
