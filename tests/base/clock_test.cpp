#include "base/clock.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/wait_time.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

TEST(Clock, IsInitialisedByAskingForItsFrequency) {
  reset_clock();

  EXPECT_GT(mp_getclockfrequency(), 0.0);

  EXPECT_GE(mp_getclock(), 0.0);
}

TEST(Clock, NeverRunsBackwards) {
  reset_clock();
  start_clock();
  double before = mp_getclock();

  for (int i = 0; i < 10000; ++i) {
    const double now = mp_getclock();
    ASSERT_GE(now, before);
    before = now;
  }
}

TEST(Clock, WarnsOnceWhenReadBeforeItsStart) {
  const test::LogCapture log;
  reset_clock();

  EXPECT_EQ(mp_getclock(), 0.0);
  EXPECT_EQ(mp_getclock(), 0.0);

  const test::Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "WARN : HIGH-Res. timer failed(2)...");
  EXPECT_TRUE(lines[1].starts_with("     : ")) << lines[1];
  start_clock();
}

// In a process of its own: nothing has been counted there.
TEST(ClockDeathTest, WarnsWhenAProcessReadsItBeforeItsStart) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        msg_open(nullptr);
        mp_getclock();
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "WARN : HIGH-Res. timer failed");
}

TEST(WaitTime, TruncatesTowardZero) {
  EXPECT_EQ(whole_milliseconds(999'999), 0U);
  EXPECT_EQ(whole_milliseconds(1'000'000), 1U);
  EXPECT_EQ(whole_milliseconds(2'500'000), 2U);
}

TEST(WaitTime, TakesNegativeTimesAsZero) {
  EXPECT_EQ(whole_milliseconds(-5'000'000), 0U);
}

TEST(WaitTime, NeverBecomesForever) {
  EXPECT_EQ(whole_milliseconds(0xFFFFFFFELL * 1'000'000), 0xFFFFFFFEU);
  EXPECT_EQ(whole_milliseconds(0xFFFFFFFFLL * 1'000'000), 0xFFFFFFFFU);
  EXPECT_EQ(whole_milliseconds(0x100000000LL * 1'000'000), 0xFFFFFFFEU);
}

}  // namespace
}  // namespace orsin
