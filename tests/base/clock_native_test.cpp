// A counter that fails, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ratio>
#include <string>

#include "base/clock.h"
#include "base/log_port.h"
#include "base/spin_wait.h"
#include "base/wait_deadline.h"
#include "orsincore/log.h"
#include "orsincore/primitives.h"
#include "orsincore/threads.h"
#include "tests/platform/native/fake_clock.h"
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

  static constexpr std::int64_t kSecond = std::nano::den;

  // Of the last head: hundredths of a second since midnight.
  [[nodiscard]] int last_stamp() const {
    const std::string text = log_.text();
    const std::string line = text.substr(text.rfind('\n', text.size() - 2) + 1);
    const auto number = [&line](std::size_t at) { return std::stoi(line.substr(at, 2)); };
    return ((number(0) * 60 + number(3)) * 60 + number(6)) * 100 + number(9);
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

// The log reads the wall clock once; from then on the counter tells its time.
TEST_F(FailingClock, MovesTheTimeOfTheLogByWhatItHasCounted) {
  constexpr int kDayHundredths = 24 * 3600 * 100;
  fake_clock().stands_still = true;
  fake_clock().still_count = 1000 * kSecond;
  start_clock();
  fake_clock().still_count = 2000 * kSecond;
  const double before = port::local_time_of_day();
  msginfo("first");
  const int first = last_stamp();
  const double after = port::local_time_of_day();
  fake_clock().still_count += 5 * kSecond + kSecond / 4;
  msginfo("second");

  if (after >= before) {  // Not at midnight.
    EXPECT_GE(first, static_cast<int>(before) * 100);
    EXPECT_LE(first, static_cast<int>(after) * 100 + 1);
  }
  EXPECT_EQ(last_stamp(), (first + 525) % kDayHundredths);
}

TEST_F(FailingClock, LetsALogThatIsOpenedAgainAskForTheTimeOfDay) {
  fake_clock().stands_still = true;
  fake_clock().still_count = kSecond;
  start_clock();
  fake_clock().still_count = 2 * kSecond;
  msginfo("first");
  std::FILE* const stream = msg_get_file();
  msg_close();
  fake_clock().still_count += 3600 * kSecond;  // Of which the log's next time knows nothing.

  msg_open(stream);
  const double before = port::local_time_of_day();
  msginfo("second");
  const double after = port::local_time_of_day();

  if (after >= before) {  // Not at midnight.
    EXPECT_GE(last_stamp(), static_cast<int>(before) * 100);
    EXPECT_LE(last_stamp(), static_cast<int>(after) * 100 + 1);
  }
}

// Natively the clock of deadlines is the one that we look at here.
TEST(WaitDeadline, IsNeverOverTooEarly) {
  for (int i = 0; i < 20; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    const WaitDeadline deadline(1);
    while (deadline.left_ms() != 0) {
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1));
  }
}

TEST(TimedWait, IsNeverOverTooEarly) {
  __mutex_str* mutex = mp_new_mutex(1, 0);
  __cond_str* condition = mp_new_cond_block();
  for (int i = 0; i < 20; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(mp_cond_timedwait(condition, mutex, 1'000'000), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1));
  }
  mp_delete_cond_block(condition);
  mp_release_mutex(mutex);
  mp_delete_mutex(mutex);
}

TEST(Spinning, EndsWhenWhatIsWaitedForHasHappened) {
  int looks = 0;

  EXPECT_TRUE(spin_until([] { return true; }, std::chrono::microseconds(0)));
  EXPECT_TRUE(spin_until([&] { return ++looks >= 3; }, std::chrono::microseconds(1'000'000)));

  EXPECT_EQ(looks, 3);
}

// After the few looks that it makes between two at the clock.
TEST(Spinning, EndsWithItsTime) {
  int looks = 0;

  EXPECT_FALSE(spin_until([&] { return ++looks > 1000; }, std::chrono::microseconds(0)));
}

}  // namespace
}  // namespace orsin
