#include "examples/host/ingest/hashes.h"

#include <gtest/gtest.h>

#include "examples/host/ingest/c4.h"

namespace host::ingest {
namespace {

const unsigned char* bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

TEST(IngestHashes, AreThePublishedOnes) {
  constexpr std::string_view kClip = "abcd\n";
  XxhHasher xxh64;
  Md5Hasher md5;
  xxh64.add(bytes(kClip), 2);
  xxh64.add(bytes(kClip) + 2, 3);
  md5.add(bytes("abc"), 3);

  EXPECT_EQ(hex(xxh64.digest()), "0ea03b369a463d9d");
  EXPECT_EQ(hex(md5.digest()), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(IngestHashes, BeginAnew) {
  XxhHasher xxh64;
  xxh64.add(bytes("x"), 1);
  xxh64.restart();

  EXPECT_EQ(hex(xxh64.digest()), "ef46db3751d8e999");  // Of nothing.
}

TEST(IngestHashes, AreReadBackFromTheirDigitsAndFromNothingElse) {
  EXPECT_EQ(xxh64_of_hex("0EA03b369a463d9d"), 0x0EA03B369A463D9DU);
  for (const char* text :
       {"", "0ea03b369a463d9", "0ea03b369a463d9d0", "0ea03b369a463d9g", "0xa03b369a463d9d"}) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(xxh64_of_hex(text));
  }
  const auto digest = md5_of_hex("900150983cd24fb0d6963f7d28e17f72");
  ASSERT_TRUE(digest);
  EXPECT_EQ(hex(*digest), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_FALSE(md5_of_hex("900150983cd24fb0d6963f7d28e17f7"));
}

TEST(IngestC4, IsTheDigestInBase58) {
  Sha512Digest nothing = {};
  Sha512Digest all;
  all.fill(0xFF);
  // SHA-512 of no bytes.
  constexpr Sha512Digest kEmpty = {0xcf, 0x83, 0xe1, 0x35, 0x7e, 0xef, 0xb8, 0xbd, 0xf1, 0x54, 0x28,
                                   0x50, 0xd6, 0x6d, 0x80, 0x07, 0xd6, 0x20, 0xe4, 0x05, 0x0b, 0x57,
                                   0x15, 0xdc, 0x83, 0xf4, 0xa9, 0x21, 0xd3, 0x6c, 0xe9, 0xce, 0x47,
                                   0xd0, 0xd1, 0x3c, 0x5d, 0x85, 0xf2, 0xb0, 0xff, 0x83, 0x18, 0xd2,
                                   0x87, 0x7e, 0xec, 0x2f, 0x63, 0xb9, 0x31, 0xbd, 0x47, 0x41, 0x7a,
                                   0x81, 0xa5, 0x38, 0x32, 0x7a, 0xf9, 0x27, 0xda, 0x3e};

  EXPECT_EQ(c4_of(nothing), "c4" + std::string(88, '1'));
  EXPECT_EQ(
      c4_of(kEmpty),
      "c459dsjfscH38cYeXXYogktxf4Cd9ibshE3BHUo6a58hBXmRQdZrAkZzsWcbWtDg5oQstpDuni4Hirj75GEmTc1s"
      "FT");
  EXPECT_EQ(c4_of(all).size(), 90U);
}

}  // namespace
}  // namespace host::ingest
