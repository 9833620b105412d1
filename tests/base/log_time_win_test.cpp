// The head of a log line where the user's language writes numbers with a comma.
#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "tests/base/log_time_text.h"

namespace orsin {
namespace {

using test::written;

TEST(LogTime, HasAPointInEveryLanguage) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  ASSERT_NE(std::setlocale(LC_NUMERIC, "German_Germany"), nullptr);

  const std::string near_tie = written({1, 2, 5.125});
  const std::string elsewhere = written({1, 2, 5.25});
  std::setlocale(LC_NUMERIC, before.c_str());

  EXPECT_EQ(near_tie, "01:02:05.12");
  EXPECT_EQ(elsewhere, "01:02:05.25");
}

}  // namespace
}  // namespace orsin
