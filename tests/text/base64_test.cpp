#include "text/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "tests/text/naive_base64.h"
#include "text/base64_blocks.h"
#include "threads/executor.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

std::string naive_decode(const std::string& text, std::size_t room) {
  std::string result(room, '\0');
  result.resize(test::decode_base64_naively(text, result.data(), room));
  return result;
}

std::string decode(const std::string& text, std::size_t room) {
  std::string result(room, '\0');
  result.resize(ov_base64_decode(text.data(), text.size(), result.data(), room));
  return result;
}

TEST(Base64, DecodesWholeAndUnfinishedGroups) {
  EXPECT_EQ(decode("TWFu", 9), "Man");
  EXPECT_EQ(decode("TWE=", 9), "Ma");
  EXPECT_EQ(decode("TQ==", 9), "M");
  EXPECT_EQ(decode("TWE", 9), "Ma");
  EXPECT_EQ(decode("T", 9), "");
  EXPECT_EQ(decode("", 9), "");
}

TEST(Base64, DropsWhatDoesNotFit) {
  EXPECT_EQ(decode("TWFu", 2), "Ma");
  EXPECT_EQ(decode("TWFu", 0), "");
}

TEST(Base64, CountsStrangersAsZero) {
  EXPECT_EQ(decode("T\nFu", 9), naive_decode("TAFu", 9));
}

TEST(Base64, AgreesWithTheNaiveDecoderOverDirtyTexts) {
  const unsigned seed = 99;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 400, '\0');
    const bool dirty = random() % 2 == 0;
    for (char& c : text) {
      c = dirty && random() % 50 == 0 ? static_cast<char>(random() % 128)
                                      : test::kBase64Alphabet[random() % 64];
    }
    const std::size_t room = random() % 2 == 0 ? 400 : random() % 300;
    ASSERT_EQ(decode(text, room), naive_decode(text, room)) << text;
  }
}

void expect_same_as_plain(const Base64Kernel* kernel, const std::string& text, std::size_t room) {
  std::string fast(1300, 'x');
  std::string plain(1300, 'x');

  const std::size_t fast_size = decode_base64_span(
      kernel, text.data(), text.size(), reinterpret_cast<unsigned char*>(fast.data()), room);
  const std::size_t plain_size = decode_base64_span_plain(
      text.data(), text.size(), reinterpret_cast<unsigned char*>(plain.data()), room);

  ASSERT_EQ(fast_size, plain_size) << text;
  ASSERT_EQ(fast, plain) << text;
}

// Bytes above 0x7F too, which a decoder that looks at seven bits would take for characters.
TEST(Base64, AgreesWithItsPlainTwinAndLeavesTheRestOfTheTargetAlone) {
  const unsigned seed = 1007;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 5000; ++round) {
    std::string text(random() % 1500, '\0');
    for (char& c : text) {
      c = test::kBase64Alphabet[random() % 64];
    }
    for (unsigned strangers = random() % 4; strangers > 0 && !text.empty(); --strangers) {
      text[random() % text.size()] = static_cast<char>(random() % 4 == 0 ? '=' : random() % 256);
    }
    const std::size_t room = random() % 1300;
    expect_same_as_plain(nullptr, text, room);
    for (const Base64Kernel* kernel : base64_kernels()) {
      expect_same_as_plain(kernel, text, room);
    }
  }
}

TEST(Base64, RefusesEveryStrangerAtEveryPlaceOfABlock) {
  for (int c = 0; c < 256; ++c) {
    for (std::size_t place = 0; place < 128; ++place) {
      std::string text(256, 'B');
      text[place] = static_cast<char>(c);
      SCOPED_TRACE(testing::Message() << c << " at " << place);
      for (const Base64Kernel* kernel : base64_kernels()) {
        expect_same_as_plain(kernel, text, 200);
      }
    }
  }
}

std::string random_text(std::size_t characters, unsigned seed) {
  std::mt19937 random(seed);
  std::string text(characters, '\0');
  for (char& c : text) {
    c = test::kBase64Alphabet[random() % 64];
  }
  return text;
}

void expect_streamed_as_stored(const Base64Kernel& kernel, std::size_t stranger) {
  constexpr std::size_t kBlocks = 20;
  std::string text = random_text(kBlocks * kBase64BlockCharacters, 5);
  if (stranger < kBlocks) {
    text[stranger * kBase64BlockCharacters + 77] = '.';
  }
  alignas(kBase64StreamAlignment) unsigned char streamed[kBlocks * kBase64BlockBytes] = {};
  unsigned char stored[kBlocks * kBase64BlockBytes] = {};
  const std::size_t blocks = std::min(stranger, kBlocks);

  EXPECT_EQ(kernel.stream(text.data(), kBlocks, streamed), blocks);
  EXPECT_EQ(kernel.decode(text.data(), kBlocks, stored), blocks);

  EXPECT_EQ(std::memcmp(streamed, stored, sizeof(stored)), 0);
}

TEST(Base64, StreamsBlocksAsItStoresThem) {
  if (base64_kernels().empty()) {
    GTEST_SKIP() << "The processor has no vector instructions for it.";
  }
  for (const Base64Kernel* kernel : base64_kernels()) {
    for (std::size_t stranger = 0; stranger <= 20; ++stranger) {
      SCOPED_TRACE(stranger);
      expect_streamed_as_stored(*kernel, stranger);
    }
  }
}

TEST(Base64, DecodesLargeTextsToAnyAddress) {
  constexpr std::size_t kCharacters = (6U << 20) + 3;
  constexpr std::size_t kBytes = kCharacters / 4 * 3 + 2;
  const std::string clean = random_text(kCharacters, 6);
  for (std::size_t offset = 0; offset < 32; offset += 5) {
    for (const std::size_t stranger :
         {kCharacters, std::size_t{2}, std::size_t{9}, std::size_t{5000}}) {
      for (const char kind : {'.', '='}) {
        SCOPED_TRACE(testing::Message() << offset << " " << stranger << " " << kind);
        std::string text = clean;
        if (stranger < kCharacters) {
          text[stranger] = kind;
        }
        std::vector<unsigned char> fast(kBytes + 64, 'x');
        std::vector<unsigned char> plain(kBytes + 64, 'x');

        const std::size_t fast_size =
            decode_base64_span(text.data(), text.size(), fast.data() + offset, kBytes - 1);
        const std::size_t plain_size =
            decode_base64_span_plain(text.data(), text.size(), plain.data() + offset, kBytes - 1);

        ASSERT_EQ(fast_size, plain_size);
        ASSERT_TRUE(fast == plain);
      }
    }
  }
}

// As many blocks as are worth streaming, but just too few bytes to align the target first.
TEST(Base64, StoresWhereTheTargetIsNotAligned) {
  constexpr std::size_t kBlocks = (4U << 20) / kBase64BlockBytes;
  constexpr std::size_t kBytes = kBlocks * kBase64BlockBytes;
  const std::string text = random_text(kBlocks * kBase64BlockCharacters, 7);
  std::vector<unsigned char> fast(kBytes + 64, 'x');
  std::vector<unsigned char> plain(kBytes + 64, 'x');

  ASSERT_EQ(decode_base64_span(text.data(), text.size(), fast.data() + 1, kBytes), kBytes);
  ASSERT_EQ(decode_base64_span_plain(text.data(), text.size(), plain.data() + 1, kBytes), kBytes);

  EXPECT_TRUE(fast == plain);
}

TEST(Base64, MindsTheShorterOfTextAndRoom) {
  constexpr std::size_t kLarge = 8U << 20;
  constexpr std::size_t kShort = 8;
  const std::string text = random_text(kLarge, 8);
  const std::string untouched(200, 'x');
  std::vector<unsigned char> target(kLarge);
  for (std::size_t offset = 0; offset < kBase64StreamAlignment; ++offset) {
    SCOPED_TRACE(offset);
    std::fill_n(target.begin(), 400, static_cast<unsigned char>('x'));
    unsigned char* const small = target.data() + offset;

    ASSERT_EQ(decode_base64_span(text.data(), kLarge, small, kShort), kShort);
    ASSERT_EQ(std::memcmp(small + kShort, untouched.data(), untouched.size()), 0);

    ASSERT_EQ(decode_base64_span(text.data(), kShort, small, kLarge - offset), kShort / 4 * 3);
    ASSERT_EQ(std::memcmp(small + kShort, untouched.data(), untouched.size()), 0);
  }
}

TEST(Base64, TellsTheLengthOfTheSourceWhateverTheRoom) {
  char bytes[4];
  EXPECT_EQ(ov_base64_decode_mt("TWE=", 4, bytes, 4), 2U);
  EXPECT_EQ(ov_base64_decode_mt("TWFuTWFu", 8, bytes, 4), 6U);
  EXPECT_EQ(base64_decoded_size("TQ==", 4), 1U);
  EXPECT_EQ(base64_decoded_size("T", 1), 0U);
  const char padding[] = "====";
  EXPECT_EQ(base64_decoded_size(padding + 2, 2), 0U);  // Whatever stands in front of it.
  EXPECT_EQ(base64_decoded_size(padding + 2, 0), 0U);
}

TEST(Base64, JoinsItsSpansForAnyNumberOfWorkers) {
  std::mt19937 random(5);
  for (std::size_t length = 0; length < 200; ++length) {
    std::string text(length, '\0');
    for (char& c : text) {
      c = test::kBase64Alphabet[random() % 64];
    }
    const std::string expected = naive_decode(text, 1000);
    for (const std::size_t parts : {1U, 2U, 3U, 7U, 128U}) {
      std::string joined(expected.size(), '\0');
      Base64Span before = {};
      for (std::size_t part = 0; part < parts; ++part) {
        const Base64Span span = base64_span(part, parts, text.size(), joined.size());
        ASSERT_EQ(span.source_begin, before.source_end) << part << " of " << parts;
        ASSERT_EQ(span.target_begin, before.target_end) << part << " of " << parts;
        before = span;
        decode_base64_span(text.data() + span.source_begin, span.source_end - span.source_begin,
                           reinterpret_cast<unsigned char*>(joined.data()) + span.target_begin,
                           span.target_end - span.target_begin);
      }
      ASSERT_EQ(before.source_end, text.size());
      ASSERT_EQ(before.target_end, joined.size());
      ASSERT_EQ(joined, expected) << length << " in " << parts;
    }
  }
}

class Base64Workers : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(start_executor(3), 3); }
  void TearDown() override {
    stop_executor();
    stop_thread_table();
  }
};

TEST_F(Base64Workers, FillTheTargetAndLeaveWhatIsBehindIt) {
  for (const std::string& text : {random_text(1000, 9), random_text(1000, 9) + "TQ=="}) {
    const std::string decoded = naive_decode(text, 1000);
    // None, within the first part and the second, all but one byte, all, and more.
    for (const std::size_t room : {std::size_t{0}, std::size_t{100}, std::size_t{400},
                                   decoded.size() - 1, decoded.size(), decoded.size() + 300}) {
      SCOPED_TRACE(testing::Message() << text.size() << " into " << room);
      std::string target(decoded.size() + 400, 'x');
      std::string expected = target;
      const std::size_t fitting = std::min(room, decoded.size());
      expected.replace(0, fitting, decoded, 0, fitting);

      EXPECT_EQ(ov_base64_decode_mt(text.data(), text.size(), target.data(), room), decoded.size());

      EXPECT_EQ(target, expected);
    }
  }
}

}  // namespace
}  // namespace orsin
