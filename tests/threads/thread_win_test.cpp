#include <gtest/gtest.h>

#include <exception>

#include "base/clock.h"
#include "base/processor_info.h"
#include "base/processor_table.h"
#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "tests/threads/gate.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::Gate;
using test::Lines;
using test::LogCapture;

TEST(ThreadTableOnWindows, EndsWhatStillRunsAtClosedown) {
  const LogCapture log;
  Gate running;
  const unsigned int thread = mp_start_thread(
      "Endless",
      [](void* argument) {
        static_cast<Gate*>(argument)->open();
        SleepEx(INFINITE, FALSE);
      },
      &running);
  running.wait();
  HANDLE handle = nullptr;
  ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), thread_handle(static_cast<int>(thread)),
                              GetCurrentProcess(), &handle, 0, FALSE, DUPLICATE_SAME_ACCESS));

  stop_thread_table();

  EXPECT_EQ(WaitForSingleObject(handle, 60000), WAIT_OBJECT_0);
  DWORD exit_code = 1;
  EXPECT_TRUE(GetExitCodeThread(handle, &exit_code));
  EXPECT_EQ(exit_code, 0U);
  EXPECT_EQ(log.lines(), Lines{});
  CloseHandle(handle);
}

LONG WINAPI hosts_filter(EXCEPTION_POINTERS* /*information*/) {
  return EXCEPTION_CONTINUE_SEARCH;
}

TEST(ThreadTableOnWindows, GivesTheHostItsFilterAndItsTerminateHandlerBack) {
  const auto filter_before = SetUnhandledExceptionFilter(hosts_filter);
  const std::terminate_handler terminate_before = std::get_terminate();
  start_thread_table();
  EXPECT_NE(std::get_terminate(), terminate_before);

  stop_thread_table();

  EXPECT_EQ(SetUnhandledExceptionFilter(filter_before), hosts_filter);
  EXPECT_EQ(std::get_terminate(), terminate_before);
}

// Wine does not know ideal processors, so both answers are right here; each has its own log.
TEST(ThreadAffinityOnWindows, PrefersAProcessorOfTheTableOrSaysWhyNot) {
  start_clock();
  const LogCapture log;
  query_processors(false);

  const bool is_bound = mp_set_thread_affinity(0);

  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), is_bound ? 0U : 1U);
  if (!is_bound) {
    EXPECT_TRUE(lines[0].starts_with("ERROR: Thread ideal processor failed : '")) << lines[0];
  }
}

TEST(ThreadAffinityOnWindows, RefusesAnIndexOutsideTheTableWithoutAMessage) {
  const LogCapture log;
  query_processors(false);

  EXPECT_FALSE(mp_set_thread_affinity(-1));
  EXPECT_FALSE(mp_set_thread_affinity(processor_table().entries.count()));

  EXPECT_EQ(log.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
