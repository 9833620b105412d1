#include "examples/host/line_texts.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(ProgressText, TellsShareSpeedAndTimeLeft) {
  EXPECT_EQ(progress_text("copying", 0, 1000, 0.0), "copying    0.0 %       0.0 MB/s    0:00 left");
  EXPECT_EQ(progress_text("copying", 250'000'000, 1'000'000'000, 2.0),
            "copying   25.0 %     125.0 MB/s    0:06 left");
  EXPECT_EQ(progress_text("verifying", 1'000'000'000, 1'000'000'000, 4.0),
            "verifying  100.0 %     250.0 MB/s    0:00 left");
}

TEST(ProgressText, CountsMinutesBeyondTheHour) {
  EXPECT_EQ(progress_text("copying", 1'000'000, 7'200'000'000, 1.0),
            "copying    0.0 %       1.0 MB/s  119:59 left");
}

TEST(ProgressText, CountsNothingToDoAsDone) {
  EXPECT_EQ(progress_text("copying", 0, 0, 0.0), "copying  100.0 %       0.0 MB/s    0:00 left");
}

TEST(ElapsedText, CountsMinutesAndSeconds) {
  EXPECT_EQ(elapsed_text(0.0), "0:00");
  EXPECT_EQ(elapsed_text(59.9), "0:59");
  EXPECT_EQ(elapsed_text(3725.0), "62:05");
}

TEST(SpinnerText, TurnsItsBar) {
  EXPECT_EQ(spinner_text("tool", 0, 12.5), "| tool 0:12");
  EXPECT_EQ(spinner_text("tool", 1, 12.5), "/ tool 0:12");
  EXPECT_EQ(spinner_text("tool", 2, 12.5), "- tool 0:12");
  EXPECT_EQ(spinner_text("tool", 3, 12.5), "\\ tool 0:12");
  EXPECT_EQ(spinner_text("tool", 4, 12.5), "| tool 0:12");
}

}  // namespace
}  // namespace host
