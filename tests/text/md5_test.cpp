#include <gtest/gtest.h>

#include <random>
#include <string>

#include "orsincore/text.h"

namespace orsin {
namespace {

std::string hex(const unsigned char* bytes, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const char* digits = "0123456789abcdef";
    text.push_back(digits[bytes[i] >> 4]);
    text.push_back(digits[bytes[i] & 15]);
  }
  return text;
}

std::string md5(const std::string& text, std::size_t piece) {
  md5_state_s state;
  ov_md5_init(&state);
  const auto* data = reinterpret_cast<const unsigned char*>(text.data());
  for (std::size_t at = 0; at < text.size(); at += piece) {
    ov_md5_append(&state, data + at, static_cast<int>(std::min(piece, text.size() - at)));
  }
  unsigned char digest[16];
  ov_md5_finish(&state, digest);
  return hex(digest, 16);
}

// The suite of RFC 1321.
TEST(Md5, GivesThePublishedDigests) {
  const struct {
    const char* text;
    const char* digest;
  } cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(md5(c.text, 1000), c.digest) << c.text;
  }
}

TEST(Md5, DoesNotDependOnHowTheMessageIsCut) {
  std::mt19937 random(3);
  for (std::size_t length = 0; length < 300; ++length) {
    std::string text(length, '\0');
    for (char& c : text) {
      c = static_cast<char>(random());
    }
    const std::string whole = md5(text, 1000);
    for (const std::size_t piece : {1U, 7U, 55U, 64U, 65U}) {
      ASSERT_EQ(md5(text, piece), whole) << length << " in pieces of " << piece;
    }
  }
}

TEST(Md5, IgnoresLengthsBelowOne) {
  md5_state_s state;
  ov_md5_init(&state);
  const unsigned char data[] = {1};
  ov_md5_append(&state, data, -5);
  ov_md5_append(&state, data, 0);
  unsigned char digest[16];
  ov_md5_finish(&state, digest);
  EXPECT_EQ(hex(digest, 16), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Md5, LeavesTheDigestInTheState) {
  md5_state_s state;
  ov_md5_init(&state);
  unsigned char digest[16];
  ov_md5_finish(&state, digest);
  EXPECT_EQ(std::memcmp(digest, state.abcd, 16), 0);
}

}  // namespace
}  // namespace orsin
