#include "commands/RequestKey.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

using namespace std::string_view_literals;

TEST(RequestKey, IsTheBeginningOfTheNamesDigest) {
  // Digests from RFC 1321, appendix A.5.
  EXPECT_EQ(md5HexDigest(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5HexDigest("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5HexDigest("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(md5HexDigest("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
  EXPECT_EQ(md5HexDigest("abc\0def"sv), "900150983cd24fb0d6963f7d28e17f72") << "up to the first zero byte";
  EXPECT_EQ(requestKey("message digest"), "f96b697d");
  // Around the lengths at which the padding takes a block of its own; from md5sum.
  EXPECT_EQ(md5HexDigest(std::string(55, 'x')), "04364420e25c512fd958a70738aa8f72");
  EXPECT_EQ(md5HexDigest(std::string(56, 'x')), "668a72d5ba17f08e62dabcafad6db14b");
  EXPECT_EQ(md5HexDigest(std::string(63, 'x')), "7dc2ca208106a2f703567bdff99d8981");
  EXPECT_EQ(md5HexDigest(std::string(64, 'x')), "c1bb4f81d892b2d57947682aeb252456");
  EXPECT_EQ(requestKey(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace quorlin
