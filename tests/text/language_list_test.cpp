#include "text/language_list.h"

#include <gtest/gtest.h>

#include <string>

namespace orsin {
namespace {

std::vector<std::string> codes(const LanguageList& list) {
  std::vector<std::string> result;
  for (const Language& language : list.records()) {
    result.emplace_back(language.code != nullptr ? language.code : "(end)");
  }
  return result;
}

// "-" for a null entry.
std::vector<std::string> table(const LanguageList& list) {
  std::vector<std::string> result;
  for (const char* name : list.table()) {
    result.emplace_back(name != nullptr ? name : "-");
  }
  return result;
}

using Texts = std::vector<std::string>;

TEST(LanguageList, HasATableAsLongAsTheLargestIdDemands) {
  const LanguageList list("0:System Default:x\n2:Deutsch:de_DE\n");

  ASSERT_EQ(list.table().size(), 3u);
  EXPECT_STREQ(list.table()[0], "");
  EXPECT_EQ(list.table()[1], nullptr);
  EXPECT_STREQ(list.table()[2], "de_DE");
}

TEST(LanguageList, KeepsWhatStandsInALine) {
  const LanguageList list("0:System Default:x\n2:Deutsch:de_DE\n");

  ASSERT_EQ(list.records().size(), 3u);
  const Language& system = list.records()[0];
  EXPECT_EQ(system.id, 0);
  EXPECT_STREQ(system.code, "x");
  EXPECT_EQ(system.flags, 0);
  EXPECT_STREQ(system.display_name, "System Default");
  EXPECT_STREQ(system.lookup_name, "");
  const Language& german = list.records()[1];
  EXPECT_EQ(german.id, 2);
  EXPECT_STREQ(german.code, "de_DE");
  EXPECT_EQ(german.flags, 0);
  EXPECT_STREQ(german.display_name, "Deutsch");
  EXPECT_STREQ(german.lookup_name, "de_DE");
}

TEST(LanguageList, EndsWithARecordWithoutACode) {
  for (const char* file : {"", "# nothing\n", "1:English:en_GB\n"}) {
    SCOPED_TRACE(file);
    const LanguageList list(file);

    const Language& last = list.records().back();
    EXPECT_EQ(last.id, 0);
    EXPECT_EQ(last.code, nullptr);
    EXPECT_STREQ(last.display_name, "");
    EXPECT_STREQ(last.lookup_name, "");
  }
}

TEST(LanguageList, ReadsEveryFormOfALine) {
  struct Case {
    const char* what;
    const char* file;
    Texts codes;
    Texts table;
  };
  const Case cases[] = {
      {"nothing", "", {"(end)"}, {}},
      {"only comments and empty lines", "# a\n\n#:b:c\n\n", {"(end)"}, {}},
      {"no line feed at the end", "1:English:en_GB", {"en_GB", "(end)"}, {"-", "en_GB"}},
      {"a fourth field", "1:English:en_GB:UK:x\n", {"en_GB", "(end)"}, {"-", "en_GB"}},
      {"one colon counts for the table alone", "2:English\n", {"(end)"}, {"-", "-", "-"}},
      {"no colon counts for the table alone", "1\n", {"(end)"}, {"-", "-"}},
      {"no number is id 0", "English::en_GB\n", {"en_GB", "(end)"}, {""}},
      {"a number with a tail", "1abc:English:en_GB\n", {"en_GB", "(end)"}, {"-", "en_GB"}},
      {"blanks and a plus before the number", " \t+1:E:en\n", {"en", "(end)"}, {"-", "en"}},
      {"an empty first line", "\n1:E:en\n", {"en", "(end)"}, {"-", "en"}},
      {"a carriage return before the number", "\r1:E:en\n", {"en", "(end)"}, {"-", "en"}},
      {"an empty display name", "1::en_GB\n", {"en_GB", "(end)"}, {"-", "en_GB"}},
      {"an empty code", "1:English:\n", {"", "(end)"}, {"-", ""}},
      {"a fourth field behind an empty code", "1:English::UK\n", {"", "(end)"}, {"-", ""}},
      {"id 0 without a code", "0:System:\n", {"", "(end)"}, {"-"}},
      {"a modifier", "1:S:sr_RS@latin\n", {"sr_RS@latin", "(end)"}, {"-", "sr_RS@latin"}},
      {"a comment sign later in the line", "1:#:en\n #:a:b\n", {"en", "b", "(end)"}, {"", "en"}},
      {"ids out of order", "2:a:x\n1:b:y\n", {"x", "y", "(end)"}, {"-", "y", "x"}},
      {"an id twice", "1:a:x\n1:b:y\n", {"x", "y", "(end)"}, {"-", "y"}},
      {"a carriage return before the line feed",
       "# c\r\n\r\n1:English:en_GB\r\n2:D:de_DE\r\n",
       {"en_GB", "de_DE", "(end)"},
       {"-", "en_GB", "de_DE"}},
      {"a number on the line below blanks",
       "   \n7:a:x\n",
       {"x", "(end)"},
       {"-", "-", "-", "-", "-", "-", "-", "x"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const LanguageList list(c.file);

    EXPECT_EQ(codes(list), c.codes);
    EXPECT_EQ(table(list), c.table);
    EXPECT_EQ(list.refused_count(), 0);
  }
}

TEST(LanguageList, KeepsNegativeIdsOutOfTheTable) {
  const LanguageList list("-1:a:x\n1:b:y\n-2000000000:c:z\n-99999999999999999999:d:w\n");

  EXPECT_EQ(codes(list), (Texts{"x", "y", "z", "w", "(end)"}));
  EXPECT_EQ(table(list), (Texts{"-", "y"}));
  EXPECT_EQ(list.records()[0].id, -1);
  EXPECT_STREQ(list.records()[0].lookup_name, "x");
}

TEST(LanguageList, HasNoTableWhenEveryIdIsNegative) {
  const LanguageList list("-1:a:x\n-7:b:y\n");

  EXPECT_EQ(list.table().size(), 0u);
  EXPECT_EQ(list.records().size(), 3u);
}

TEST(LanguageList, RefusesIdsThatWouldTakeAllMemory) {
  const LanguageList list(
      "1:a:x\n2000000000:b:y\n1000001:c:z\n99999999999999999999:d:w\n2:e:v\n2000000000\n");

  EXPECT_EQ(codes(list), (Texts{"x", "v", "(end)"}));
  EXPECT_EQ(table(list), (Texts{"-", "x", "v"}));
  EXPECT_EQ(list.refused_count(), 4);
}

TEST(LanguageList, TakesTheLargestIdThatIsNotRefused) {
  const LanguageList list("1000000:a:x\n");

  ASSERT_EQ(list.table().size(), 1000001u);
  EXPECT_STREQ(list.table().back(), "x");
  EXPECT_EQ(list.refused_count(), 0);
}

TEST(LanguageList, ReadsTenThousandLines) {
  std::string file;
  for (int id = 9999; id >= 0; --id) {
    file += std::to_string(id) + ":Language " + std::to_string(id) + ":l" + std::to_string(id) +
            (id % 2 == 0 ? "\r\n" : "\n");
  }

  const LanguageList list(file);

  ASSERT_EQ(list.records().size(), 10001u);
  ASSERT_EQ(list.table().size(), 10000u);
  EXPECT_STREQ(list.records()[0].display_name, "Language 9999");
  EXPECT_STREQ(list.table()[0], "");
  for (std::size_t id = 1; id < 10000; ++id) {
    ASSERT_EQ(list.table()[id], "l" + std::to_string(id));
  }
}

TEST(LanguageList, StaysValidWhenItIsMoved) {
  LanguageList first("1:a:b\n");
  const LanguageList second = std::move(first);

  EXPECT_STREQ(second.table()[1], "b");
  EXPECT_STREQ(second.records()[0].display_name, "a");
}

TEST(LanguageList, CutsStringsAtAnEmbeddedNul) {
  const LanguageList list(std::string_view("1:a\0b:c\0d\n", 10));

  EXPECT_STREQ(list.records()[0].display_name, "a");
  EXPECT_STREQ(list.records()[0].code, "c");
}

}  // namespace
}  // namespace orsin
