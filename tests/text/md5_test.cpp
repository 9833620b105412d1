#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "text/md5_blocks.h"

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

// The digest of all digests, as another implementation gives it.
TEST(Md5, PadsMessagesOfEveryLength) {
  std::string digests;
  for (std::size_t length = 0; length < 200; ++length) {
    digests += md5(std::string(length, 'a'), 1000);
  }
  EXPECT_EQ(md5(digests, digests.size()), "49f6cc3eb4491fe05535571716f39a67");
}

// As if 2^32 + 2^32 bits less one block had gone before.
TEST(Md5, CarriesTheLengthIntoItsHighWord) {
  md5_state_s state;
  ov_md5_init(&state);
  state.count[0] = 0xFFFFFE00;
  state.count[1] = 1;
  const unsigned char data[72] = {};

  ov_md5_append(&state, data, 72);

  EXPECT_EQ(state.count[0], 64U);
  EXPECT_EQ(state.count[1], 2U);
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

TEST(Md5, GivesTheSameWordsWithAndWithoutTernaryInstructions) {
  if (!has_ternary_instructions()) {
    GTEST_SKIP() << "this processor has no AVX-512 with short vectors";
  }
  std::mt19937 random(11);
  for (int round = 0; round < 500; ++round) {
    std::vector<unsigned char> data(64 * (1 + random() % 40));
    for (unsigned char& byte : data) {
      byte = static_cast<unsigned char>(random());
    }
    unsigned int plain[4] = {1, 2, 3, static_cast<unsigned int>(random())};
    unsigned int fast[4];
    std::memcpy(fast, plain, sizeof(plain));
    md5_blocks_plain(plain, data.data(), data.size() / 64);
    md5_blocks_ternary(fast, data.data(), data.size() / 64);
    ASSERT_EQ(std::memcmp(plain, fast, sizeof(plain)), 0) << round;
  }
}

// What a processor without the instructions does.
TEST(Md5, GivesThePublishedWordsByPlainArithmetic) {
  unsigned char block[64] = {'a', 'b', 'c', 0x80};
  block[56] = 24;  // The length in bits.
  unsigned int digest[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

  md5_blocks_plain(digest, block, 1);

  EXPECT_EQ(hex(reinterpret_cast<const unsigned char*>(digest), 16),
            "900150983cd24fb0d6963f7d28e17f72");
}

}  // namespace
}  // namespace orsin
