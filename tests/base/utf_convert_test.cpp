#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "tests/text/naive_utf.h"

namespace orsin {
namespace {

using test::naive_code_points;
using test::naive_encode;
using test::naive_utf16;

std::u16string to_utf16(const std::string& text) {
  std::vector<unsigned short> units(text.size() * 2 + 2, 0xAAAA);
  ov_utf8_to_utf16(text.c_str(), units.data(), units.size());
  std::u16string result;
  for (const unsigned short unit : units) {
    if (unit == 0) {
      break;
    }
    result.push_back(static_cast<char16_t>(unit));
  }
  return result;
}

std::string to_utf8(const std::u16string& text) {
  std::vector<unsigned short> units(text.begin(), text.end());
  units.push_back(0);
  std::vector<char> bytes(text.size() * 4 + 4, 'x');
  ov_utf16_to_utf8(units.data(), bytes.data(), bytes.size());
  return bytes.data();
}

TEST(Utf8ToUtf16, ConvertsEveryCodePoint) {
  for (unsigned cp = 1; cp <= 0x10FFFF; ++cp) {
    const std::string text = naive_encode(cp);
    ASSERT_EQ(to_utf16(text), naive_utf16({cp})) << std::hex << cp;
  }
}

TEST(Utf16ToUtf8, ConvertsEveryUnitAndReadsPairsBack) {
  for (unsigned cp = 1; cp < 0x100000; ++cp) {
    ASSERT_EQ(to_utf8(naive_utf16({cp})), naive_encode(cp)) << std::hex << cp;
  }
}

// Without the offset the last 65536 code points have no high unit of their own: they are written as
// two low ones and read back as such.
TEST(Utf16Pairs, KeepsCodePointsFrom100000OnUnpaired) {
  const std::u16string units = to_utf16(naive_encode(0x100000));
  EXPECT_EQ(units, (std::u16string{0xDC00, 0xDC00}));
  EXPECT_EQ(to_utf8(units), naive_encode(0xDC00) + naive_encode(0xDC00));
}

TEST(Utf16Pairs, OfTheLowestHighUnitsAreReadAsPairs) {
  for (const unsigned high : {0xD800U, 0xD801U, 0xD83FU}) {
    for (const unsigned low : {0xDC00U, 0xDC41U, 0xDFFFU}) {
      SCOPED_TRACE(testing::Message() << std::hex << high << ' ' << low);
      const unsigned cp = (high - 0xD800) << 10 | (low - 0xDC00);
      const std::u16string units{u'a', static_cast<char16_t>(high), static_cast<char16_t>(low),
                                 u'z'};

      EXPECT_EQ(to_utf8(units), cp == 0 ? "a" : "a" + naive_encode(cp) + "z");
    }
  }
}

// Short texts take the way of one character at a time; nothing is allocated, as there are 2^24.
TEST(Utf8ToUtf16, ReadsEverySequenceOfUpToThreeBytes) {
  char text[4] = {};
  for (unsigned bytes = 0; bytes < 0x1000000; ++bytes) {
    text[0] = static_cast<char>(bytes >> 16);
    text[1] = static_cast<char>(bytes >> 8);
    text[2] = static_cast<char>(bytes);
    unsigned short units[4];

    ov_utf8_to_utf16(text, units, 4);

    std::size_t at = 0;
    const unsigned short* unit = units;
    while (at < 3 && text[at] != '\0') {
      const test::NaiveCodePoint expected = test::naive_decode({text, 3}, at);
      if (*unit++ != expected.value) {  // Three bytes reach no pair.
        FAIL() << std::hex << bytes << " at " << at;
      }
      at += expected.length;
    }
    if (*unit != 0) {
      FAIL() << std::hex << bytes << " goes on";
    }
  }
}

// Characters that lack one of their bytes, and others that follow where it should have been.
TEST(Utf8ToUtf16, ReadsEverySequenceOfFourBytesThatMatter) {
  constexpr unsigned char kBytes[] = {'a',  0x7F, 0x80, 0x9F, 0xA0, 0xBF, 0xC1, 0xC2,
                                      0xDF, 0xE0, 0xE1, 0xED, 0xF0, 0xF1, 0xF4, 0xF8};
  std::string text(4, '\0');
  for (unsigned choice = 0; choice < 0x10000; ++choice) {
    for (unsigned i = 0; i < 4; ++i) {
      text[i] = static_cast<char>(kBytes[choice >> 4 * i & 0xF]);
    }
    ASSERT_EQ(to_utf16(text), naive_utf16(naive_code_points(text))) << testing::PrintToString(text);
  }
}

// Runs of ASCII are converted in blocks: every alignment, length and place of a stranger.
TEST(Utf8ToUtf16, AgreesWithTheNaiveConversionOverMixedTexts) {
  const unsigned seed = 4711;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 20, 'a');
    const std::size_t pieces = random() % 6;
    for (std::size_t i = 0; i < pieces; ++i) {
      text += random() % 2 == 0 ? std::string(random() % 40, static_cast<char>('b' + i))
                                : naive_encode(1 + random() % 0xFFFFF);
      if (random() % 10 == 0) {
        text.push_back(static_cast<char>(0x80 + random() % 0x80));
      }
    }
    const std::u16string expected = naive_utf16(naive_code_points(text));
    ASSERT_EQ(to_utf16(text), expected);
    std::string again;
    for (const unsigned cp : naive_code_points(text)) {
      again += naive_encode(cp);
    }
    ASSERT_EQ(to_utf8(expected), again);
  }
}

TEST(Utf8ToUtf16, FillsEveryDestinationSizeByTheSameRule) {
  const std::string text = "abcdefghijklmnopqrstuvwxyz\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  const std::u16string whole = naive_utf16(naive_code_points(text));
  for (std::size_t n = 1; n <= whole.size() + 3; ++n) {
    std::vector<unsigned short> units(n + 1, 0xAAAA);
    ov_utf8_to_utf16(text.c_str(), units.data(), n);

    // Whole characters while they fit, then 0 in the last element.
    std::u16string expected(n, static_cast<char16_t>(0xAAAA));
    std::size_t written = 0;
    for (const unsigned cp : naive_code_points(text)) {
      const std::u16string one = naive_utf16({cp});
      if (written + one.size() > n) {
        break;
      }
      expected.replace(written, one.size(), one);
      written += one.size();
    }
    if (written == whole.size() && written < n) {
      expected[written] = 0;
    }
    expected[n - 1] = 0;
    ASSERT_EQ(std::u16string(units.begin(), units.end() - 1), expected) << n;
    ASSERT_EQ(units[n], 0xAAAA) << n;
  }
}

TEST(Utf16ToUtf8, FillsEveryDestinationSizeByTheSameRule) {
  std::u16string text = u"abcdefghijklmnopqrstuvwxyz\u00E9\u20AC";
  text += u"\u00E9\u65E5\u672C\u00DF-\xD87D\xDE00-\u20AC\u65E5\u672C\u20ACz\u00E9\u20AC";
  std::string whole;
  std::vector<std::string> characters;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_pair = text[i] >= 0xD800 && text[i] < 0xDC00;
    characters.push_back(is_pair ? naive_encode(0x1F600) : naive_encode(text[i]));
    whole += characters.back();
    i += is_pair ? 1 : 0;
  }
  for (std::size_t n = 1; n <= whole.size() + 40; ++n) {
    std::string bytes(n + 1, '\xAA');
    ov_utf16_to_utf8(reinterpret_cast<const unsigned short*>(text.c_str()), bytes.data(), n);

    // Whole characters while they fit, the terminator by the same rule, 0 in the last byte.
    std::string expected(n + 1, '\xAA');
    std::size_t written = 0;
    for (const std::string& one : characters) {
      if (written + one.size() > n) {
        break;
      }
      expected.replace(written, one.size(), one);
      written += one.size();
    }
    if (written == whole.size() && written < n) {
      expected[written] = '\0';
    }
    expected[n - 1] = '\0';
    ASSERT_EQ(bytes, expected) << n;
  }
}

TEST(Utf8ToUtf16, CutsAndTerminates) {
  unsigned short three[3] = {9, 9, 9};
  ov_utf8_to_utf16("abc", three, 3);
  EXPECT_EQ(three[0], 'a');
  EXPECT_EQ(three[1], 'b');
  EXPECT_EQ(three[2], 0);

  unsigned short four[4] = {9, 9, 9, 9};
  EXPECT_EQ(ov_utf8_to_utf16("abc", four, 4), four);
  EXPECT_EQ(four[2], 'c');
  EXPECT_EQ(four[3], 0);
}

TEST(Utf8ToUtf16, WritesNothingIntoNoRoom) {
  unsigned short unit = 7;
  ov_utf8_to_utf16("abc", &unit, 0);
  EXPECT_EQ(unit, 7);
}

TEST(Utf8ToUtf16, CountsBytesWhereTheDestinationIsBytes) {
  char bytes[7] = "xxxxxx";
  EXPECT_EQ(ov_utf8_to_utf16("abc", bytes, 6), bytes);
  EXPECT_EQ(std::memcmp(bytes, "a\0b\0\0\0x", 7 - 1), 0);
}

TEST(Utf16Pairs, KeepsTheirPairingWithoutTheStandardOffset) {
  unsigned short units[4] = {};
  ov_utf8_to_utf16("\xF0\x90\x80\x80", units, 4);
  EXPECT_EQ(units[0], 0xD840);
  EXPECT_EQ(units[1], 0xDC00);

  ov_utf8_to_utf16("\xF0\x9F\x98\x80", units, 4);
  EXPECT_EQ(units[0], 0xD87D);
  EXPECT_EQ(units[1], 0xDE00);
  std::size_t position = 0;
  EXPECT_EQ(ov_utf16_get_code_point(units, &position), 0x1F600);
  EXPECT_EQ(position, 2U);

  const unsigned short standard[] = {0xD83D, 0xDE00, 0};
  position = 0;
  EXPECT_EQ(ov_utf16_get_code_point(standard, &position), 0xF600);
}

TEST(Utf16ToUtf8, LeavesBytesBehindTheLastWholeCharacterAlone) {
  const unsigned short euro[] = {0x61, 0x20AC, 0};
  char bytes[] = {'x', 'y', 'z'};
  ov_utf16_to_utf8(euro, bytes, 3);
  EXPECT_EQ(bytes[0], 'a');
  EXPECT_EQ(bytes[1], 'y');
  EXPECT_EQ(bytes[2], '\0');
}

TEST(Utf16ToUtf8, KeepsTheLastElementZeroEvenInsideACharacter) {
  const unsigned short text[] = {0x61, 0xE9, 0};
  char bytes[] = {'x', 'y', 'z'};
  ov_utf16_to_utf8(text, bytes, 3);
  EXPECT_EQ(bytes[0], 'a');
  EXPECT_EQ(bytes[1], '\xC3');
  EXPECT_EQ(bytes[2], '\0');
}

TEST(Utf32, ConvertsBothWays) {
  const unsigned int text[] = {'a', 0xE9, 0x20AC, 0x1F600, 0};
  char bytes[32];
  EXPECT_EQ(ov_utf32_to_utf8(text, bytes, sizeof(bytes)), bytes);
  EXPECT_STREQ(bytes, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");

  unsigned int back[8] = {};
  EXPECT_EQ(ov_utf8_to_utf32(bytes, back, 8), back);
  EXPECT_EQ(std::memcmp(back, text, sizeof(text)), 0);
}

TEST(Utf32, WritesNoPartOfACharacterThatDoesNotFit) {
  const unsigned int text[] = {'a', 0x20AC, 'b', 0};
  const std::string whole =
      "a\xE2\x82\xAC"
      "b";
  for (std::size_t room = 1; room <= whole.size() + 2; ++room) {
    SCOPED_TRACE(room);
    const std::size_t fitting = room < 4 ? 1 : room < 6 ? room : 6;
    std::string out(room + 1, '#');

    ov_utf32_to_utf8(text, out.data(), room);

    std::string expected = (whole + std::string(1, '\0')).substr(0, fitting);
    expected.resize(room + 1, '#');
    expected[room - 1] = '\0';
    EXPECT_EQ(out, expected);
  }
}

TEST(Utf32, StopsAtAValueThatCannotBeEncoded) {
  const unsigned int text[] = {'a', 0x200000, 'b', 0};
  char bytes[8] = "zzzzzzz";
  ov_utf32_to_utf8(text, bytes, sizeof(bytes));
  EXPECT_EQ(std::string(bytes, 2), "az");
  EXPECT_EQ(bytes[7], '\0');
}

TEST(Utf32, StoresAtMostAsManyElementsAsThereAre) {
  unsigned int two[3] = {9, 9, 9};
  ov_utf8_to_utf32("abc", two, 2);
  EXPECT_EQ(two[0], 'a');
  EXPECT_EQ(two[1], 0U);
  EXPECT_EQ(two[2], 9U);
}

TEST(Utf32, IsEmptyWhereThereIsRoomForNoMore) {
  unsigned int elements[] = {9, 9};

  EXPECT_EQ(ov_utf8_to_utf32("ab", elements, 0), elements);
  EXPECT_EQ(elements[0], 9U);
  EXPECT_EQ(ov_utf8_to_utf32("ab", elements, 1), elements);
  EXPECT_EQ(elements[0], 0U);
  EXPECT_EQ(elements[1], 9U);
}

TEST(Latin1, ConvertsBothWays) {
  char bytes[16];
  EXPECT_STREQ(ov_byte_to_utf8(bytes, sizeof(bytes), "a\xE9\xFF"), "a\xC3\xA9\xC3\xBF");
  char back[16];
  EXPECT_STREQ(ov_utf8_to_byte(back, sizeof(back), bytes), "a\xE9\xFF");
}

TEST(Latin1, TakesTheByteBehindC2AsItIs) {
  char bytes[16];
  EXPECT_STREQ(ov_utf8_to_byte(bytes, sizeof(bytes), "\xC2\xA9x\xC2\x80yz"), "\xA9x\x80yz");
}

TEST(Latin1, KeepsTheWrapOfBytesBehindC3) {
  char bytes[16];
  ov_utf8_to_byte(bytes, sizeof(bytes),
                  "a\xC3\xC0"
                  "b");
  EXPECT_STREQ(bytes, "a");
  EXPECT_EQ(bytes[2], 'b');
}

TEST(Latin1, UsesAllButTwoBytesOfItsBuffer) {
  char bytes[5];
  EXPECT_STREQ(ov_utf8_to_byte(bytes, sizeof(bytes), "abcdef"), "abc");
  EXPECT_STREQ(ov_utf8_to_byte(bytes, 3, "abcdef"), "a");
  EXPECT_STREQ(ov_utf8_to_byte(bytes, 2, "abcdef"), "");
}

TEST(Latin1, WritesOnlyTheEndWhereThereIsRoomForNoMore) {
  const struct {
    const char* what;
    const char* (*convert)(char*, std::size_t, const char*);
  } cases[] = {{"to bytes", ov_utf8_to_byte},
               {"from bytes", ov_byte_to_utf8},
               {"XML", validate_ascii_xml_text}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    char text[] = "zz";

    EXPECT_EQ(c.convert(text, 0, "ab"), text);
    EXPECT_STREQ(text, "zz");
    EXPECT_EQ(c.convert(text, 1, "ab"), text);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(text[1], 'z');
  }
}

TEST(Latin1, StopsBeforeACharacterThatDoesNotFit) {
  char bytes[4];
  EXPECT_STREQ(ov_byte_to_utf8(bytes, sizeof(bytes), "abc"), "abc");
  EXPECT_STREQ(ov_byte_to_utf8(bytes, sizeof(bytes), "ab\xE9"), "ab");
}

TEST(Latin1, TakesNullAsEmpty) {
  char bytes[4] = "zzz";
  EXPECT_STREQ(ov_utf8_to_byte(bytes, sizeof(bytes), nullptr), "");
  EXPECT_STREQ(ov_byte_to_utf8(bytes, sizeof(bytes), nullptr), "");
  EXPECT_STREQ(validate_ascii_xml_text(bytes, sizeof(bytes), nullptr), "");
}

TEST(Latin1, IsMadeOfUtf8InPlace) {
  char text[16] = "a\xC3\xA9\xC3\xBFz";
  char cut[] = "\xC3\xA9\xC3\xA9\xC3\xA9";

  EXPECT_EQ(ov_utf8_to_byte(text, sizeof(text), text), text);
  EXPECT_STREQ(text, "a\xE9\xFFz");
  EXPECT_STREQ(ov_utf8_to_byte(cut, 4, cut), "\xE9\xE9");
}

TEST(XmlText, IsCleanedInPlace) {
  char text[16] = "a\tb\r\n\x01z";
  char cut[] = "a\tbcdef";

  EXPECT_EQ(validate_ascii_xml_text(text, sizeof(text), text), text);
  EXPECT_STREQ(text, "a b\r\n z");
  EXPECT_STREQ(validate_ascii_xml_text(cut, 5, cut), "a b");
}

TEST(XmlText, BlanksControlCharactersButLineEnds) {
  char text[16];
  EXPECT_STREQ(validate_ascii_xml_text(text, sizeof(text), "a\tb\r\n\x01\xE9"), "a b\r\n \xE9");
}

TEST(XmlText, UsesAllButTwoBytesOfItsBuffer) {
  char text[5];
  EXPECT_STREQ(validate_ascii_xml_text(text, sizeof(text), "abcdef"), "abc");
}

// Blocks of letters are converted at once, by code that sanitizers do not see.
TEST(Utf16ToUtf8, WritesNothingBehindTheRoomOfALongAsciiText) {
  const std::vector<unsigned short> text = [] {
    std::vector<unsigned short> units(60, 'a');
    units.push_back(0);
    return units;
  }();
  for (std::size_t room = 1; room <= text.size(); ++room) {
    std::string bytes(room + 96, '~');
    ov_utf16_to_utf8(text.data(), bytes.data(), room);
    EXPECT_EQ(bytes.substr(room), std::string(96, '~')) << room;
  }
}

}  // namespace
}  // namespace orsin
