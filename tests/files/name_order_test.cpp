#include "files/name_order.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orsincore/files.h"

namespace orsin {
namespace {

int sign(int value) {
  return (value > 0) - (value < 0);
}

TEST(NameOrder, ComparesNamesInEveryWayThatItKnows) {
  struct Case {
    const char* what;
    const char* a;
    const char* b;
    int expected;
  };
  const Case cases[] = {
      {"equal", "take.wav", "take.wav", 0},
      {"letters without case", "TAKE.wav", "take.wav", 0},
      {"letters in order", "a.wav", "b.wav", -1},
      {"numbers by value", "file9.wav", "file10.wav", -1},
      {"leading zeros are equal so far", "take007.wav", "take7.wav", 0},
      {"what follows equal numbers decides", "take007b.wav", "take7a.wav", 1},
      {"a number after a number", "s2e9.wav", "s2e10.wav", -1},
      {"a digit against a letter", "1.wav", "a.wav", -1},
      {"different extensions compare plainly", "file10.wav", "file9.mov", -1},
      {"extensions that differ in case only differ", "file10.WAV", "file9.wav", -1},
      {"one name without extension compares by number", "file9", "file10.wav", -1},
      {"an eighth byte of 1 in an extension", "f10.bcdefg\x01x", "f9.bcdefg\x01y", -1},
      {"both without extension", "file10", "file9", 1},
      {"the prefix goes first", "take", "take1", -1},
      {"the longer goes last", "take1", "take", 1},
      {"empty and empty", "", "", 0},
      {"empty and something", "", "a", -1},
      {"long extensions that differ late", "f10.abcdefghij", "f9.abcdefghik", -1},
      {"long extensions that are equal", "f10.abcdefghij", "f9.abcdefghij", 1},
      {"extensions of 7 bytes", "f10.abcdef", "f9.abcdef", 1},
      {"extensions of 8 and 9 bytes", "f10.abcdefg", "f9.abcdefgh", -1},
      {"an extension that is a lone dot", "f10.", "f9.", 1},
      {"bytes between the cases", "a_", "aB", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);

    EXPECT_EQ(sign(file_namecmp(c.a, c.b)), c.expected);
    EXPECT_EQ(sign(file_namecmp(c.b, c.a)), -c.expected);
  }
}

TEST(NameOrder, GivesTheDistanceOfTheFirstDifferentBytes) {
  EXPECT_EQ(file_namecmp("aB", "ad"), 'b' - 'd');
  EXPECT_EQ(file_namecmp("a2", "a1"), 1);
  EXPECT_EQ(file_namecmp("a", "ab"), -'b');
  EXPECT_EQ(file_namecmp("ab", "a"), 'b');
}

TEST(NameOrder, KeepsBytesOfUtf8Signed) {
  EXPECT_LT(file_namecmp("\xC3\xA9.wav", "z.wav"), 0);
  EXPECT_EQ(file_namecmp("x", "x\xC3\xA9"), 61);  // 0 minus -61.
  EXPECT_EQ(file_namecmp("x\xC3\xA9", "x"), -61);
}

TEST(NameOrder, KeepsDigitsThatWouldOverflowOutOfTheNumber) {
  EXPECT_EQ(file_namecmp("4294967295", "429496730"), 1);
  EXPECT_EQ(file_namecmp("4294967296", "429496729"), 0);   // Reads as the second.
  EXPECT_EQ(file_namecmp("4294967296", "429496730"), -1);  // So it is smaller than a shorter one.
  EXPECT_EQ(file_namecmp("42949672950", "4294967295"), 0);
  EXPECT_EQ(file_namecmp("42949672969a", "429496729b"), 'a' - 'b');
}

TEST(NameOrder, KeepsTheCycleAcrossExtensions) {
  EXPECT_LT(file_namecmp("f9.wav", "f10.wav"), 0);
  EXPECT_LT(file_namecmp("f10.wav", "f9.mov"), 0);
  EXPECT_LT(file_namecmp("f9.mov", "f9.wav"), 0);
}

// The rule once more, slowly: nothing prepared, every step as one thinks it.
int naive_compare(const std::string& a, const std::string& b) {
  const std::size_t dot_a = a.rfind('.');
  const std::size_t dot_b = b.rfind('.');
  const auto folded = [](char c) {
    return static_cast<signed char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  };
  if (dot_a != std::string::npos && dot_b != std::string::npos &&
      a.substr(dot_a) != b.substr(dot_b)) {
    for (std::size_t i = 0;; ++i) {
      const int byte_a = i < a.size() ? static_cast<unsigned char>(folded(a[i])) : 0;
      const int byte_b = i < b.size() ? static_cast<unsigned char>(folded(b[i])) : 0;
      if (byte_a != byte_b || byte_a == 0) {
        return byte_a - byte_b;
      }
    }
  }
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  std::size_t i = 0;
  std::size_t j = 0;
  for (;;) {
    if (i == a.size()) {
      return 0 - (j < b.size() ? static_cast<signed char>(b[j]) : 0);
    }
    if (j == b.size()) {
      return static_cast<signed char>(a[i]);
    }
    if (is_digit(a[i]) && is_digit(b[j])) {
      const auto read = [&](const std::string& text, std::size_t& at) {
        unsigned long long value = 0;
        bool counts = true;
        for (; at < text.size() && is_digit(text[at]); ++at) {
          const unsigned long long longer = value * 10 + static_cast<unsigned>(text[at] - '0');
          counts = counts && longer <= 0xFFFFFFFFULL;
          value = counts ? longer : value;
        }
        return value;
      };
      const unsigned long long number_a = read(a, i);
      const unsigned long long number_b = read(b, j);
      if (number_a != number_b) {
        return number_a > number_b ? 1 : -1;
      }
      continue;
    }
    if (folded(a[i]) != folded(b[j])) {
      return folded(a[i]) - folded(b[j]);
    }
    ++i;
    ++j;
  }
}

TEST(NameOrder, AgreesWithItsRuleOnAllShortNamesOfTellingBytes) {
  const std::string bytes = std::string("a") + 'B' + '1' + '0' + '.' + '\xC3';
  std::vector<std::string> names{""};
  for (std::size_t first = 0, length = 1; length <= 3; ++length) {
    const std::size_t last = names.size();
    for (; first < last; ++first) {
      for (const char byte : bytes) {
        names.push_back(names[first] + byte);
      }
    }
  }

  for (const std::string& a : names) {
    for (const std::string& b : names) {
      ASSERT_EQ(file_namecmp(a.c_str(), b.c_str()), naive_compare(a, b)) << a << " and " << b;
    }
  }
}

TEST(NameOrder, AgreesWithItsRuleOnRandomNames) {
  const std::uint32_t seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  const std::string bytes = "abAB0129..wv_\xC3\xA9";
  const auto random_name = [&] {
    std::string name;
    for (std::size_t length = random() % 24; name.size() < length;) {
      name += bytes[random() % bytes.size()];
    }
    return name;
  };

  for (int i = 0; i < 50000; ++i) {
    const std::string a = random_name();
    const std::string b = random() % 2 == 0 ? random_name() : a.substr(0, random() % 24) + "7";
    ASSERT_EQ(file_namecmp(a.c_str(), b.c_str()), naive_compare(a, b)) << a << " and " << b;
  }
}

}  // namespace
}  // namespace orsin
