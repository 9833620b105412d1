#include "files/wildcard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/files/naive_wildcard.h"

namespace orsin {
namespace {

TEST(Wildcard, MatchesAsItsElementsSay) {
  struct Case {
    const char* what;
    const char* name;
    const char* pattern;
    bool expected;
  };
  const Case cases[] = {
      {"empty matches empty", "", "", true},
      {"empty pattern, some name", "a", "", false},
      {"itself", "take1.wav", "take1.wav", true},
      {"a shorter name", "take", "take1", false},
      {"a longer name", "take1", "take", false},
      {"question mark", "a", "?", true},
      {"question mark needs a byte", "", "?", false},
      {"question mark takes one byte of two", "\xC3\xA9", "?", false},
      {"two question marks take a character of two bytes", "\xC3\xA9", "??", true},
      {"star alone", "anything", "*", true},
      {"star matches nothing", "", "*", true},
      {"stars match nothing", "", "***", true},
      {"star at the end", "take1", "take*", true},
      {"star at the end of an equal name", "take", "take*", true},
      {"star in the middle", "take1.wav", "t*.wav", true},
      {"star takes no byte", "a.wav", "a*.wav", true},
      {"star goes back", "a.b.wav", "a*.wav", true},
      {"star goes back for a repeated part", "aab", "*ab", true},
      {"two stars", "xaybz", "*a*b*", true},
      {"two stars, one missing", "xayz", "*a*b*", false},
      {"set of bytes", "b", "[abc]", true},
      {"not in the set", "d", "[abc]", false},
      {"range", "m", "[a-z]", true},
      {"reversed range", "m", "[z-a]", true},
      {"range ends belong to it", "z", "[a-z]", true},
      {"below the range", "5", "[6-8]", false},
      {"range and bytes", "7", "[a-c6-8x]", true},
      {"a minus at the start is a byte", "-", "[-a]", true},
      {"a minus after a range is a byte", "-", "[a-c-e]", true},
      {"set needs a byte", "", "[a]", false},
      {"empty set", "]", "[]", false},
      {"empty set with more", "a", "[]a]", false},
      {"set without end", "a", "[a", false},
      {"set without anything", "a", "[", false},
      {"range without end", "a", "[a-]", false},
      {"range at the pattern's end", "a", "[a-", false},
      {"broken after a match", "a", "[ab-]", false},
      {"broken set after a star", "a[", "*[", false},
      {"no negation", "!", "[!a]", true},
      {"no negation, so a stays in", "a", "[^a]", true},
      {"escaped star", "*", "\\*", true},
      {"escaped star is no star", "a", "\\*", false},
      {"escaped letter", "a", "\\a", true},
      {"trailing backslash", "a", "a\\", false},
      {"trailing backslash after a star", "a", "*\\", false},
      {"escaped bracket in a set", "]", "[\\]]", true},
      {"escaped range end", "m", "[a-\\z]", true},
      {"bytes above 127 in a range", "\xE9", "[\x80-\xFF]", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);

    EXPECT_EQ(matches_wildcard(c.name, c.pattern, true), c.expected);
    EXPECT_EQ(matches_wildcard(c.name, c.pattern, false), c.expected);
  }
}

TEST(Wildcard, FoldsAToZOnBothSidesUnlessCaseSensitive) {
  struct Case {
    const char* what;
    const char* name;
    const char* pattern;
    bool insensitive;
    bool sensitive;
  };
  const Case cases[] = {
      {"pattern in capitals", "take1.wav", "*.WAV", true, false},
      {"name in capitals", "TAKE1.WAV", "*.wav", true, false},
      {"range in capitals", "m", "[A-Z]", true, false},
      {"capital in a small range", "M", "[a-z]", true, false},
      {"range ends fold one by one", "b", "[Z-a]", true, false},
      {"escaped letter folds", "A", "\\a", true, false},
      {"accents do not fold", "\xC3\x89", "\xC3\xA9", false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);

    EXPECT_EQ(matches_wildcard(c.name, c.pattern, false), c.insensitive);
    EXPECT_EQ(matches_wildcard(c.name, c.pattern, true), c.sensitive);
  }
}

TEST(Wildcard, EndsSoonOnManyStars) {
  const std::string name(200, 'a');
  std::string pattern;
  for (int i = 0; i < 60; ++i) {
    pattern += "*a";
  }
  pattern += "b";

  EXPECT_FALSE(matches_wildcard(name.c_str(), pattern.c_str(), false));  // Trying all: years.
}

TEST(Wildcard, AgreesWithTryingEveryPositionOnRandomPatterns) {
  const std::uint32_t seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  const auto random_text = [&](const char* bytes, std::size_t count, std::size_t length_max) {
    std::string text;
    for (std::size_t length = random() % (length_max + 1); text.size() < length;) {
      text += bytes[random() % count];
    }
    return text;
  };
  int matches = 0;

  for (int i = 0; i < 200000; ++i) {
    const std::string name = random_text("abB-]", 5, 6);
    const std::string pattern = random_text("abB**?[]-\\", 10, 7);
    const bool case_sensitive = random() % 2 == 0;
    const bool expected = test::naive_matches(name.c_str(), pattern.c_str(), case_sensitive);
    ASSERT_EQ(matches_wildcard(name.c_str(), pattern.c_str(), case_sensitive), expected)
        << name << " and " << pattern;
    matches += expected ? 1 : 0;
  }
  EXPECT_GT(matches, 1000);  // The texts are such that both answers are common.
}

}  // namespace
}  // namespace orsin
