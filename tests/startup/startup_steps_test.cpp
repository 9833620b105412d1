#include "startup/startup_steps.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::LogCapture;

TEST(StartupSteps, AreDoneInOrderAndTracedWithTheirNames) {
  const LogCapture log(4);
  StartupSteps steps;
  std::string done;

  steps.take("one", [&] { done += "1"; });
  steps.take("two", [&] { done += "2"; });
  steps.trace();

  EXPECT_EQ(done, "12");
  ASSERT_EQ(log.lines().size(), 2U);
  EXPECT_EQ(log.lines()[0].rfind("TRACE: Start-up: one, ", 0), 0U) << log.text();
  EXPECT_EQ(log.lines()[1].rfind("TRACE: Start-up: two, ", 0), 0U) << log.text();
}

TEST(StartupSteps, BeyondTheRoomForNamesAreCounted) {
  const LogCapture log(4);
  StartupSteps steps;

  for (int i = 0; i < 20; ++i) {
    steps.take("step", [] {});
  }
  steps.trace();

  EXPECT_EQ(log.last_line().rfind("TRACE: Start-up: 4 more steps, ", 0), 0U) << log.text();
}

// A step that takes so long by the clock of the steps.
void take_a_millisecond() {
  const auto begin = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1)) {
  }
}

TEST(StartupSteps, BeyondTheRoomForNamesTakeTheSumOfTheirTimes) {
  const LogCapture log(4);
  StartupSteps steps;

  for (int i = 0; i < 20; ++i) {
    steps.take("step", take_a_millisecond);
  }
  steps.trace();

  double milliseconds = 0;
  ASSERT_EQ(
      std::sscanf(log.last_line().c_str(), "TRACE: Start-up: 4 more steps, %lf ms", &milliseconds),
      1)
      << log.text();
  EXPECT_GE(milliseconds, 4.0);
}

}  // namespace
}  // namespace orsin
