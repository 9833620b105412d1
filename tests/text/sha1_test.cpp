#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "text/sha1_blocks.h"

namespace orsin {
namespace {

std::string hex(const SHA1Context& context) {
  char text[48] = {};
  for (int i = 0; i < 5; ++i) {
    std::snprintf(text + i * 8, 9, "%08x", context.Message_Digest[i]);
  }
  return text;
}

void add(SHA1Context& context, const std::string& text) {
  ov_SHA1Input(&context, reinterpret_cast<const unsigned char*>(text.data()),
               static_cast<unsigned int>(text.size()));
}

std::string sha1(const std::string& text, std::size_t piece) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  for (std::size_t at = 0; at < text.size(); at += piece) {
    add(context, text.substr(at, piece));
  }
  EXPECT_EQ(ov_SHA1Result(&context), 1);
  return hex(context);
}

// The examples of FIPS 180-1.
TEST(Sha1, GivesThePublishedDigests) {
  EXPECT_EQ(sha1("", 1), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(sha1("abc", 9), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(sha1("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 99),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(sha1(std::string(1000000, 'a'), 12345), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1, DoesNotDependOnHowTheMessageIsCut) {
  std::string text;
  for (std::size_t length = 0; length < 200; ++length) {
    text.assign(length, '\0');
    for (std::size_t i = 0; i < length; ++i) {
      text[i] = static_cast<char>(i * 31 + length);
    }
    ASSERT_EQ(sha1(text, 1), sha1(text, 1000)) << length;
    ASSERT_EQ(sha1(text, 63), sha1(text, 1000)) << length;
  }
}

// The digest of all digests, as another implementation gives it.
TEST(Sha1, PadsMessagesOfEveryLength) {
  std::string digests;
  for (std::size_t length = 0; length < 200; ++length) {
    digests += sha1(std::string(length, 'a'), 1000);
  }
  EXPECT_EQ(sha1(digests, digests.size()), "cb062fe66512892ec8c722ee74ff9ac151cc4b61");
}

TEST(Sha1, RefusesInputAfterTheResult) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  add(context, "abc");
  EXPECT_EQ(ov_SHA1Result(&context), 1);
  EXPECT_EQ(ov_SHA1Result(&context), 1);

  add(context, "");
  EXPECT_EQ(context.Corrupted, 0);
  add(context, "d");

  EXPECT_EQ(context.Corrupted, 1);
  EXPECT_EQ(ov_SHA1Result(&context), 0);
}

TEST(Sha1, LeavesNothingInTheBlockBehindTheResult) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  add(context, "abc");
  EXPECT_EQ(context.Message_Block_Index, 3);

  EXPECT_EQ(ov_SHA1Result(&context), 1);

  EXPECT_EQ(context.Message_Block_Index, 0);
  EXPECT_EQ(context.Computed, 1);
}

TEST(Sha1, MarksALengthThatWrapsCorrupted) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  context.Length_Low = 0xFFFFFFF8;
  context.Length_High = 0xFFFFFFFF;

  add(context, "a");

  EXPECT_EQ(context.Corrupted, 1);
  EXPECT_EQ(ov_SHA1Result(&context), 0);
}

TEST(Sha1, StopsAtTheByteWhereTheLengthWraps) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  context.Length_Low = 0xFFFFFFF0;
  context.Length_High = 0xFFFFFFFF;

  add(context, "abcd");

  EXPECT_EQ(context.Corrupted, 1);
  EXPECT_EQ(context.Length_Low, 0U);
  EXPECT_EQ(context.Length_High, 0U);
  EXPECT_EQ(context.Message_Block_Index, 2);
  add(context, "e");
  EXPECT_EQ(context.Message_Block_Index, 2);
}

TEST(Sha1, CarriesTheLengthIntoItsHighWord) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  context.Length_Low = 0xFFFFFFF8;

  add(context, "ab");

  EXPECT_EQ(context.Corrupted, 0);
  EXPECT_EQ(context.Length_Low, 8U);
  EXPECT_EQ(context.Length_High, 1U);
}

TEST(Sha1, GivesTheSameWordsWithAndWithoutInstructions) {
  if (!has_sha1_instructions()) {
    GTEST_SKIP() << "this processor has no SHA instructions";
  }
  std::mt19937 random(11);
  for (int round = 0; round < 500; ++round) {
    std::vector<unsigned char> data(64 * (1 + random() % 5));
    for (unsigned char& byte : data) {
      byte = static_cast<unsigned char>(random());
    }
    unsigned int plain[5] = {1, 2, 3, 4, static_cast<unsigned int>(random())};
    unsigned int fast[5];
    std::memcpy(fast, plain, sizeof(plain));
    sha1_blocks_plain(plain, data.data(), data.size() / 64);
    sha1_blocks_instructions(fast, data.data(), data.size() / 64);
    ASSERT_EQ(std::memcmp(plain, fast, sizeof(plain)), 0) << round;
  }
}

}  // namespace
}  // namespace orsin
