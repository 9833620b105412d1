#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "orsincore/text.h"
#include "tests/text/naive_utf.h"

namespace orsin {
namespace {

TEST(Utf8Length, CountsCodePointsAndStrangers) {
  EXPECT_EQ(ov_utf8_strlen(""), 0U);
  EXPECT_EQ(ov_utf8_strlen("\xC3\xA9"), 1U);
  EXPECT_EQ(ov_utf8_strlen("\xA9"), 1U);
  EXPECT_EQ(ov_utf8_strlen("\xC0\x80"), 2U);
}

TEST(Utf8Decoding, ReadsStrangersAsLatin1) {
  const char* text = "\xC0\x80";
  std::size_t position = 0;
  EXPECT_EQ(ov_utf8_get_code_point(text, &position), 0xC0);
  EXPECT_EQ(ov_utf8_get_code_point(text, &position), 0x80);
  EXPECT_EQ(ov_utf8_get_code_point(text, &position), 0);
  EXPECT_EQ(position, 2U);
}

TEST(Utf8Decoding, ReadsEverySequenceOfUpToThreeBytes) {
  char text[4] = {};
  for (unsigned bytes = 0; bytes < 0x1000000; ++bytes) {
    text[0] = static_cast<char>(bytes >> 16);
    text[1] = static_cast<char>(bytes >> 8);
    text[2] = static_cast<char>(bytes);
    const test::NaiveCodePoint expected = test::naive_decode({text, 3}, 0);
    std::size_t position = 0;
    const int cp = ov_utf8_get_code_point(text, &position);
    if (cp != static_cast<int>(expected.value) ||
        position != (expected.value != 0 ? expected.length : 0)) {
      FAIL() << std::hex << bytes << " read as " << cp;
    }
  }
}

// Written from the rule: the nearest lead byte whose own length reaches to the position.
test::NaiveCodePoint naive_step_back(const std::string& text, std::size_t end) {
  const auto byte = [&](std::size_t at) -> unsigned {
    return static_cast<unsigned char>(text[at]);
  };
  constexpr unsigned kLeads[] = {0xC0, 0xE0, 0xF0};
  std::size_t back = 1;
  bool is_found = byte(end - 1) < 0x80;
  for (std::size_t length = 2; length <= 4 && length <= end && !is_found; ++length) {
    const unsigned lead = kLeads[length - 2];
    if (byte(end - length) >= lead && byte(end - length) < lead / 2 + 0x80) {
      back = length;
      is_found = true;
    }
  }
  return {is_found ? test::naive_decode(text, end - back).value : byte(end - 1), back, is_found};
}

TEST(Utf8Decoding, StepsBackByTheRuleOverAnyBytes) {
  const unsigned seed = 815;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  constexpr unsigned char kBytes[] = {'a',  0x7F, 0x80, 0x9F, 0xA9, 0xBF, 0xC0, 0xC3,
                                      0xDF, 0xE0, 0xE2, 0xED, 0xEF, 0xF0, 0xF4, 0xF7};
  for (int round = 0; round < 200000; ++round) {
    std::string text(1 + random() % 6, '\0');
    for (char& c : text) {
      c = static_cast<char>(kBytes[random() % sizeof(kBytes)]);
    }
    for (std::size_t end = text.size(); end > 0; --end) {
      const test::NaiveCodePoint expected = naive_step_back(text, end);
      std::size_t position = end;
      ASSERT_EQ(ov_utf8_get_code_point_rev(text.c_str(), &position),
                static_cast<int>(expected.value))
          << testing::PrintToString(text) << " before " << end;
      ASSERT_EQ(position, end - expected.length) << testing::PrintToString(text);
    }
  }
}

TEST(Utf8Decoding, StepsBackOverEveryCodePoint) {
  for (unsigned cp = 1; cp <= 0x10FFFF; ++cp) {
    const std::string text = "a" + test::naive_encode(cp);
    std::size_t position = text.size();
    ASSERT_EQ(ov_utf8_get_code_point_rev(text.c_str(), &position), static_cast<int>(cp));
    ASSERT_EQ(position, 1U);
    ASSERT_EQ(ov_utf8_get_code_point_rev(text.c_str(), &position), 'a');
    ASSERT_EQ(ov_utf8_get_code_point_rev(text.c_str(), &position), 0);
    ASSERT_EQ(position, 0U);
  }
}

TEST(Utf8Decoding, StepsBackOverAStrayByte) {
  const char* text = "a\xA9";
  std::size_t position = 2;
  EXPECT_EQ(ov_utf8_get_code_point_rev(text, &position), 0xA9);
  EXPECT_EQ(position, 1U);
}

TEST(Utf8Bytes, CountsTheBytesOfCharacters) {
  const char* text = "a\xC3\xA9\xE2\x82\xAC";
  EXPECT_EQ(ov_utf8_get_num_bytes(text, 0, 2), 3U);
  EXPECT_EQ(ov_utf8_get_num_bytes(text, 1, 99), 5U);
  EXPECT_EQ(ov_utf8_get_num_bytes(text, 0, 0), 0U);
  EXPECT_EQ(ov_utf8_get_num_bytes(text, 0, -1), 0U);
}

TEST(Utf8Encoding, TakesUpToFourBytes) {
  const struct {
    int cp;
    int length;
  } cases[] = {{-1, 1},     {0x7F, 1},   {0x80, 2},    {0x7FF, 2},    {0x800, 3},
               {0xD800, 3}, {0xFFFF, 3}, {0x10000, 4}, {0x1FFFFF, 4}, {0x200000, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.cp);
    EXPECT_EQ(ov_utf8_get_num_bytes_for_code_point(c.cp), c.length);
    char bytes[4];
    EXPECT_EQ(ov_utf8_encode(c.cp, bytes, sizeof(bytes)), c.length);
  }
}

TEST(Utf8Encoding, WritesNothingWhereItDoesNotFit) {
  char bytes[] = "zz";
  EXPECT_EQ(ov_utf8_encode(0x20AC, bytes, 2), 0);
  EXPECT_EQ(ov_utf8_encode(0x200000, bytes, 2), 0);
  EXPECT_STREQ(bytes, "zz");
}

TEST(Utf8Encoding, KeepsTheLowByteOfANegativeValue) {
  char bytes[] = "zz";
  EXPECT_EQ(ov_utf8_encode(-2, bytes, 2), 1);
  EXPECT_STREQ(bytes, "\xFEz");
}

TEST(Utf8Encoding, WritesEveryCodePoint) {
  for (unsigned cp = 0; cp <= 0x10FFFF; ++cp) {
    char bytes[4];
    const int length = ov_utf8_encode(static_cast<int>(cp), bytes, sizeof(bytes));
    ASSERT_EQ(std::string_view(bytes, static_cast<std::size_t>(length)), test::naive_encode(cp))
        << std::hex << cp;
  }
}

TEST(Utf8Insert, InsertsACharacter) {
  char text[16] = "abc";
  EXPECT_EQ(ov_utf8_insert_char(text, sizeof(text), 1, 0xE9), 2);
  EXPECT_STREQ(text,
               "a\xC3\xA9"
               "bc");
  EXPECT_EQ(ov_utf8_insert_char(text, sizeof(text), 99, '!'), 1);
  EXPECT_STREQ(text,
               "a\xC3\xA9"
               "bc!");
}

TEST(Utf8Insert, LeavesAFullBufferAlone) {
  char text[4] = "abc";
  EXPECT_EQ(ov_utf8_insert_char(text, sizeof(text), 1, 'x'), 0);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 1, "x"), 0U);
}

TEST(Utf8Insert, InsertsAsManyWholeCharactersAsFit) {
  char text[8] = "ab";
  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 1, "x\xE2\x82\xAC\xE2\x82\xAC"), 4U);
  EXPECT_STREQ(text,
               "ax\xE2\x82\xAC"
               "b");
}

TEST(Utf8Insert, InsertsWhatFitsToTheLastByte) {
  char text[8] = "ab";
  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 1, "x\xE2\x82\xACyz"), 5U);
  EXPECT_STREQ(text,
               "ax\xE2\x82\xAC"
               "yb");
}

TEST(Utf8Insert, CountsCharactersNotBytesToItsPlace) {
  char text[16] =
      "\xC3\xA9"
      "bc";

  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 1, "yz"), 2U);

  EXPECT_STREQ(text,
               "\xC3\xA9"
               "yzbc");
}

TEST(Utf8Insert, InsertsASingleByteWhereThereIsRoomForNoMore) {
  char text[4] = "ab";

  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 1, "x"), 1U);

  EXPECT_STREQ(text, "axb");
}

TEST(Utf8Insert, LeavesATextAloneThatIsLongerThanItsBufferIsSaidToBe) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{3}, std::size_t{6}}) {
    SCOPED_TRACE(size);
    char text[16] = "abcdef";

    EXPECT_EQ(ov_utf8_insert(text, size, 1, "x"), 0U);
    EXPECT_EQ(ov_utf8_insert_char(text, size, 1, 'x'), 0);

    EXPECT_STREQ(text, "abcdef");
  }
}

// What stands behind the buffer differs from byte to byte, so that a move too far shows.
TEST(Utf8Insert, TouchesNothingBehindItsBuffer) {
  char character[] = "abcd\0\0\0guarded";
  char text[] = "abcd\0\0\0guarded";

  EXPECT_EQ(ov_utf8_insert_char(character, 7, 2, 0xE9), 2);
  EXPECT_EQ(ov_utf8_insert(text, 7, 2, "xy"), 2U);

  EXPECT_EQ(std::string(character, sizeof(character)), std::string("ab\xC3\xA9"
                                                                   "cd\0guarded",
                                                                   sizeof(character)));
  EXPECT_EQ(std::string(text, sizeof(text)), std::string("abxycd\0guarded", sizeof(text)));
}

TEST(Utf8Insert, InsertsNothingWhenNoCharacterFits) {
  char text[4] = "a";
  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 0, "\xE2\x82\xAC"), 0U);
  EXPECT_STREQ(text, "a");
}

TEST(Utf8Erase, RemovesCharacters) {
  char text[16] =
      "a\xC3\xA9"
      "bc";
  EXPECT_EQ(ov_utf8_erase(text, 1, 1), 2U);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(ov_utf8_erase(text, 1, 99), 2U);
  EXPECT_STREQ(text, "a");
  EXPECT_EQ(ov_utf8_erase(text, 1, 1), 0U);
  EXPECT_EQ(ov_utf8_erase(text, 0, 0), 0U);
  char empty[] = "";
  EXPECT_EQ(ov_utf8_erase(empty, 0, 1), 0U);
}

TEST(Utf8Erase, TouchesNothingBehindTheText) {
  char text[] = "abcd\0guarded";

  EXPECT_EQ(ov_utf8_erase(text, 3, 1), 1U);

  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(text[4], '\0');
  EXPECT_STREQ(text + 5, "guarded");
}

TEST(Utf8Validity, KeepsThreeByteSurrogatesValid) {
  EXPECT_EQ(ov_utf8_is_valid("\xED\xA0\x80"), 1);
  std::size_t position = 0;
  EXPECT_EQ(ov_utf8_get_code_point("\xED\xA0\x80", &position), 0xD800);
}

TEST(Utf8Validity, RefusesWhatCannotBeDecoded) {
  EXPECT_EQ(ov_utf8_is_valid(""), 1);
  EXPECT_EQ(ov_utf8_is_valid("\xF4\x90\x80\x80"), 0);
  EXPECT_EQ(ov_utf8_is_valid("a\xFF"), 0);
  EXPECT_EQ(ov_utf8_is_valid("a\xC3"), 0);
}

TEST(Utf8Validity, RefusesEveryByteThatIsNoCharacterAlone) {
  for (unsigned byte = 0x80; byte <= 0xFF; ++byte) {
    const char text[] = {'a', static_cast<char>(byte), 'z', 0};
    EXPECT_EQ(ov_utf8_is_valid(text), 0) << byte;
  }
}

TEST(Utf8Validity, HoldsForEveryCodePoint) {
  for (unsigned cp = 1; cp <= 0x10FFFF; ++cp) {
    ASSERT_EQ(ov_utf8_is_valid(test::naive_encode(cp).c_str()), 1) << std::hex << cp;
  }
}

TEST(Utf8Validity, CutsAtTheFirstInvalidSequence) {
  char text[] =
      "ab\xFF"
      "cd";
  EXPECT_EQ(ov_utf8_validate(text), text);
  EXPECT_STREQ(text, "ab");
}

TEST(Utf8Validity, WritesNothingIntoAValidText) {
  static const char kReadOnly[] = "caf\xC3\xA9";  // On a page that faults when written to.

  EXPECT_EQ(ov_utf8_validate(const_cast<char*>(kReadOnly)), kReadOnly);
}

TEST(Utf16Text, CountsPairsOnce) {
  const unsigned short text[] = {'a', 0xD87D, 0xDE00, 0xD800, 'b', 0xDC00, 0};
  EXPECT_EQ(ov_utf16_strlen(text), 5U);
  EXPECT_EQ(ov_utf16_strlen(reinterpret_cast<const char*>(text)), 5U);
}

TEST(Utf16Text, RoundsBytePositionsDown) {
  const unsigned short text[] = {'a', 0xD87D, 0xDE00, 'b', 0};
  const char* bytes = reinterpret_cast<const char*>(text);
  std::size_t position = 3;
  EXPECT_EQ(ov_utf16_get_code_point(bytes, &position), 0x1F600);
  EXPECT_EQ(position, 6U);
}

TEST(Utf16Text, StepsOverEveryCharacterAndStaysAtTheEnd) {
  const unsigned short text[] = {1, 0xD87D, 0xDE00, 0};
  std::size_t position = 0;

  EXPECT_EQ(ov_utf16_get_code_point(text, &position), 1);
  EXPECT_EQ(position, 1U);
  EXPECT_EQ(ov_utf16_get_code_point(text, &position), 0x1F600);
  EXPECT_EQ(position, 3U);
  EXPECT_EQ(ov_utf16_get_code_point(text, &position), 0);
  EXPECT_EQ(position, 3U);

  const char* bytes = reinterpret_cast<const char*>(text);
  EXPECT_EQ(ov_utf16_get_code_point(bytes, &(position = 0)), 1);
  EXPECT_EQ(position, 2U);
  EXPECT_EQ(ov_utf16_get_code_point(bytes, &(position = 6)), 0);
  EXPECT_EQ(position, 6U);
}

TEST(Utf16Text, ReadsThePairOfZeroAsTheEnd) {
  const unsigned short text[] = {0xD800, 0xDC00, 'a', 0};
  std::size_t position = 0;
  EXPECT_EQ(ov_utf16_get_code_point(text, &position), 0);
  EXPECT_EQ(position, 0U);
}

TEST(Utf16Encoding, WritesUnitsOrBytes) {
  unsigned short units[2] = {};
  EXPECT_EQ(ov_utf16_encode(0x1F600, units, 2), 2);
  EXPECT_EQ(units[0], 0xD87D);
  EXPECT_EQ(units[1], 0xDE00);
  EXPECT_EQ(ov_utf16_encode(0x1F600, units, 1), 0);
  char bytes[4] = {};
  EXPECT_EQ(ov_utf16_encode(0x1F600, bytes, 4), 4);
  EXPECT_EQ(std::memcmp(bytes, units, sizeof(units)), 0);
  EXPECT_EQ(ov_utf16_encode(0x1F600, bytes, 3), 0);
  EXPECT_EQ(ov_utf16_encode('a', bytes, 3), 2);
  EXPECT_EQ(ov_utf16_get_num_for_code_point(0xFFFF), 1);
  EXPECT_EQ(ov_utf16_get_num_for_code_point(0x10000), 2);
  EXPECT_EQ(ov_utf16_get_num_bytes_for_code_point('a'), 2);
  EXPECT_EQ(ov_utf16_get_num_bytes_for_code_point(0x10000), 4);
}

}  // namespace
}  // namespace orsin
