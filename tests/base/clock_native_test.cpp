// A counter that fails, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <cerrno>

#include "base/clock.h"
#include "orsincore/threads.h"
#include "tests/native/fake_clock.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::fake_clock;
using test::Lines;
using test::LogCapture;

class FailingClock : public testing::Test {
 protected:
  void SetUp() override { reset_clock(); }
  void TearDown() override {
    fake_clock() = {};
    reset_clock();
    start_clock();
  }

  LogCapture log_;
};

TEST_F(FailingClock, WarnsOnceOfACounterThatStandsStill) {
  fake_clock().stands_still = true;
  start_clock();

  EXPECT_EQ(mp_getclock(), 0.0);
  EXPECT_EQ(mp_getclock(), 0.0);

  EXPECT_EQ(log_.lines(), Lines{"WARN : HIGH-Res. timer failed(1)..."});
}

TEST_F(FailingClock, WarnsOnceOfACounterThatCannotBeRead) {
  start_clock();
  fake_clock().refuse_count = true;
  errno = 5;

  EXPECT_EQ(mp_getclock(), 0.0);
  EXPECT_EQ(mp_getclock(), 0.0);

  EXPECT_EQ(log_.lines(), (Lines{"WARN : HIGH-Res. timer failed(2)...", "     : error 5"}));
}

TEST_F(FailingClock, NeverWarnsWhenItsInitialisationFailed) {
  const struct {
    const char* what;
    test::FakeClock clock;
  } cases[] = {
      {"no frequency", {.refuse_frequency = true}},
      {"frequency below 1", {.frequency = 0}},
      {"no count", {.refuse_count = true}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    reset_clock();
    fake_clock() = c.clock;

    EXPECT_EQ(mp_getclockfrequency(), 0.0);
    EXPECT_EQ(mp_getclock(), 0.0);

    EXPECT_EQ(log_.lines(), Lines{});
  }
}

TEST_F(FailingClock, TakesOneCountASecond) {
  fake_clock() = {.frequency = 1, .stands_still = true, .still_count = 5};
  start_clock();
  fake_clock().still_count = 12;

  EXPECT_EQ(mp_getclockfrequency(), 1.0);
  EXPECT_EQ(mp_getclock(), 7.0);
}

}  // namespace
}  // namespace orsin
