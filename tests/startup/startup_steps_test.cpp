#include "startup/startup_steps.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace orsin
