// A line of jobs for which no thread can be had, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/platform/native/fake_processors.h"
#include "tests/support/log_capture.h"
#include "threads/job_line.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::Lines;

TEST(JobLineOnTheStandIn, LeavesNothingBehindWhenTheThreadIsRefused) {
  const test::LogCapture log;
  fake_processors().refuse_threads = true;
  errno = 11;
  JobLine line(
      nullptr, [](void*, std::uint64_t) {}, 1);

  EXPECT_FALSE(line.start("Line"));

  EXPECT_FALSE(line.is_running());
  EXPECT_EQ(log.lines(), Lines{"ERROR: MP: Failed to start thread : 'error 11'"});
  fake_processors() = {};
  EXPECT_TRUE(line.start("Line"));
  line.stop();
  stop_thread_table();
}

}  // namespace
}  // namespace orsin
