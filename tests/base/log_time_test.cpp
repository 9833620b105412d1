#include "base/log_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "tests/base/log_time_text.h"

namespace orsin {
namespace {

using test::written;

std::string printed(const TimeOfDay& time) {
  char text[64];
  std::snprintf(text, sizeof(text), "%02d:%02d:%05.2f", time.hours, time.minutes, time.seconds);
  return text;
}

TEST(TimeOfDay, SplitsHoursMinutesAndSeconds) {
  const TimeOfDay time = split_time_of_day(3 * 3600.0 + 4 * 60.0 + 5.25);

  EXPECT_EQ(time.hours, 3);
  EXPECT_EQ(time.minutes, 4);
  EXPECT_DOUBLE_EQ(time.seconds, 5.25);
}

TEST(TimeOfDay, SplitsEverySecondOfADay) {
  for (int second = 0; second < 86400; ++second) {
    const TimeOfDay time = split_time_of_day(second);
    ASSERT_TRUE(time.hours == second / 3600 && time.minutes == second / 60 % 60 &&
                time.seconds == second % 60)
        << second;
  }
}

TEST(TimeOfDay, StartsAgainAfterMidnight) {
  EXPECT_EQ(split_time_of_day(86399.5).hours, 23);
  EXPECT_EQ(split_time_of_day(86400.0).hours, 0);
  EXPECT_EQ(split_time_of_day(86400.0 * 3 + 61.0).hours, 0);
  EXPECT_EQ(split_time_of_day(86400.0 * 3 + 61.0).minutes, 1);
}

TEST(LogTime, PadsEveryField) {
  EXPECT_EQ(written({0, 0, 0.0}), "00:00:00.00");
  EXPECT_EQ(written({23, 59, 59.25}), "23:59:59.25");
}

TEST(LogTime, RoundsUpToSixtySecondsAsPrintedNumbersDo) {
  EXPECT_EQ(written({12, 34, 59.996}), "12:34:60.00");
}

TEST(LogTime, AgreesWithPrintfOverRandomTimes) {
  const unsigned seed = 2024;
  SCOPED_TRACE(seed);
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> day(0.0, 86400.0);
  for (int i = 0; i < 200000; ++i) {
    const TimeOfDay time = split_time_of_day(day(random));
    ASSERT_EQ(written(time), printed(time)) << time.seconds;
  }
}

// Halves of a hundredth and their nearest neighbours, where rounding is decided by the last bits.
TEST(LogTime, AgreesWithPrintfAroundEveryTie) {
  for (int i = 0; i < 6000; ++i) {
    const double tie = (i + 0.5) / 100;
    for (const double seconds : {std::nextafter(tie, 0.0), tie, std::nextafter(tie, 60.0)}) {
      ASSERT_EQ(written({1, 2, seconds}), printed({1, 2, seconds})) << i;
    }
  }
}

}  // namespace
}  // namespace orsin
