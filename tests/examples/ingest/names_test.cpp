#include "examples/host/ingest/names.h"

#include <gtest/gtest.h>

namespace host::ingest {
namespace {

TEST(IngestNames, TakesWhatCanBeWrittenAgain) {
  for (const char* name : {"A001_C002.MOV", ".hidden", "..data", "Größe", "日本.txt", "con1",
                           "auxx.txt", "com0", "com10.txt", "a b", " leading"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(name_problem(name), "");
  }
}

TEST(IngestNames, RefusesWhatWouldComeOutDifferently) {
  struct Case {
    const char* name;
    const char* problem;
  };
  constexpr const char* kDevice = "it is the name of a device";
  constexpr const char* kEnd = "it ends with a full stop or a blank, which would be lost";
  constexpr const char* kCharacter = "it holds a character that names cannot have here";
  for (const Case& c :
       {Case{"", "it is no name"}, Case{"..", "it is no name"}, Case{"clip.", kEnd},
        Case{"clip ", kEnd}, Case{"AUX", kDevice}, Case{"nul.txt", kDevice}, Case{"Com1", kDevice},
        Case{"LPT9.a.b", kDevice}, Case{"a:b", kCharacter}, Case{"a\\b", kCharacter},
        Case{"a/b", kCharacter}, Case{"a\x01", kCharacter}, Case{"what?", kCharacter},
        Case{"\xFF", "it is no valid Unicode"}}) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(name_problem(c.name), c.problem);
  }
}

TEST(IngestNames, FoldOnlyTheLettersThatEveryVolumeFolds) {
  EXPECT_EQ(folded("Clips\\A001.MOV"), "clips\\a001.mov");
  EXPECT_EQ(folded("GRÖSSE"), "grÖsse");
}

TEST(IngestNames, ChangeSeparatorsBothWays) {
  EXPECT_EQ(with_slashes("a\\b\\c"), "a/b/c");
  EXPECT_EQ(with_backslashes("a/b/c"), "a\\b\\c");
}

}  // namespace
}  // namespace host::ingest
