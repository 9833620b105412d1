#include <gtest/gtest.h>

#include <cstring>

#include "orsincore/files.h"

namespace orsin {
namespace {

TEST(NameCounter, CountsInTheAskedBrackets) {
  const struct {
    const char* name;
    bool square;
    const char* expected;
  } cases[] = {
      {"Take", false, "Take(1)"},
      {"Take(1)", false, "Take(2)"},
      {"Take(9)", false, "Take(10)"},
      {"Take[9]", true, "Take[10]"},
      {"Take", true, "Take[1]"},
      {"Take(x)", false, "Take(1)"},  // No number reads as 0.
      {"Take()", false, "Take(1)"},
      {"Take(3)", true, "Take(3)[1]"},  // The other brackets belong to the name.
      {"Take[3]", false, "Take[3](1)"},
      {"Take(1)(7)", false, "Take(1)(8)"},  // The last bracket counts.
      {"Take)", false, "Take)(1)"},         // Nothing was opened.
      {"(4) Take", false, "(4) Take(1)"},   // Nothing is closed at the end.
      {"Take(-5)", false, "Take(-4)"},
      {"Take( 6)", false, "Take(7)"},
      {"Take(8 bars)", false, "Take(9)"},
      {"Take(2147483647)", false, "Take(-2147483648)"},
      {"", false, "(1)"},
      {")", false, ")(1)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    char name[64];
    std::strcpy(name, c.name);

    EXPECT_TRUE(ov_increment_suffix(name, c.square));

    EXPECT_STREQ(name, c.expected);
  }
}

}  // namespace
}  // namespace orsin
