#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "orsincore/startup.h"
#include "tests/support/allocation_refusal.h"

namespace orsin {
namespace {

std::vector<std::string> split(const std::string& line) {
  char program[] = "prog";
  std::string text = line;
  int argc = 0;
  char** argv = nullptr;
  setargv(program, text.data(), &argc, &argv);
  std::vector<std::string> result(argv, argv + argc);
  EXPECT_EQ(argv[argc], nullptr);
  std::free(static_cast<void*>(argv));
  return result;
}

TEST(Setargv, SplitsByTheRulesOfQuotesAndBackslashes) {
  const struct {
    const char* what;
    const char* line;
    std::vector<std::string> expected;
  } cases[] = {
      {"nothing", "", {"prog"}},
      {"blanks only", " \t ", {"prog"}},
      {"two arguments", "a b", {"prog", "a", "b"}},
      {"runs of blanks and tabs", "  a \t b  ", {"prog", "a", "b"}},
      {"blanks in quotes", "\"a b\" c", {"prog", "a b", "c"}},
      {"quotes inside", "a\"b c\"d", {"prog", "ab cd"}},
      {"an empty argument", "\"\" x", {"prog", "", "x"}},
      {"a doubled quote inside quotes", "\"a\"\"b\"", {"prog", "a\"b"}},
      {"backslashes without a quote", "a\\\\b\\c", {"prog", "a\\\\b\\c"}},
      {"an odd run before a quote", "\\\"a", {"prog", "\"a"}},
      {"an even run before a quote", "\\\\\"a b\"", {"prog", "\\a b"}},
      {"three backslashes and a quote", "\\\\\\\"a", {"prog", "\\\"a"}},
      {"an open quote", "\"a b", {"prog", "a b"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(split(c.line), c.expected);
  }
}

TEST(Setargv, GivesNothingWithoutMemory) {
  char program[] = "prog";
  char line[] = "a b";
  int argc = -1;
  char* before[] = {program, nullptr};
  char** argv = before;
  {
    const test::AllocationRefusal refusal(1);
    setargv(program, line, &argc, &argv);
  }

  EXPECT_EQ(argc, 0);
  EXPECT_EQ(argv, nullptr);
}

TEST(Setargv, TakesNullAsEmpty) {
  int argc = -1;
  char** argv = nullptr;

  setargv(nullptr, nullptr, &argc, &argv);

  ASSERT_EQ(argc, 1);
  EXPECT_STREQ(argv[0], "");
  EXPECT_EQ(argv[1], nullptr);
  std::free(static_cast<void*>(argv));
}

}  // namespace
}  // namespace orsin
