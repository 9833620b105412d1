#include <gtest/gtest.h>

#include <exception>

#include "base/clock.h"
#include "base/compiler.h"
#include "base/processor_info.h"
#include "base/processor_table.h"
#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "tests/threads/gate.h"
#include "threads/fault_guard.h"
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

ORSIN_NOINLINE int recurse(int depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  return depth < 0 ? 0 : recurse(depth + 1) + frame[0];
}

void overflow_stack(void* /*unused*/) {
  volatile int sink = recurse(1);
  static_cast<void>(sink);
}

// Whether somewhere between the stack's end and the caller a page waits for an overflow.
bool stack_is_guarded() {
  MEMORY_BASIC_INFORMATION region = {};
  VirtualQuery(&region, &region, sizeof(region));
  auto* page = static_cast<char*>(region.AllocationBase);
  while (page < reinterpret_cast<char*>(&region)) {
    VirtualQuery(page, &region, sizeof(region));
    if (region.State == MEM_COMMIT && (region.Protect & PAGE_GUARD) != 0) {
      return true;
    }
    page = static_cast<char*>(region.BaseAddress) + region.RegionSize;
  }
  return false;
}

// A library's entry function that overflows the stack comes back to its caller, which goes on.
TEST(StackOverflow, IsReportedEachTimeOnTheThreadThatGoesOn) {
  struct Seen {
    std::uint32_t first;
    std::uint32_t second;
    bool is_guarded;
  } seen = {};
  const unsigned int thread = mp_start_thread(
      "Deep",
      [](void* argument) {
        auto& result = *static_cast<Seen*>(argument);
        result.first = run_guarded(overflow_stack, nullptr).code;
        result.is_guarded = stack_is_guarded();
        result.second = run_guarded(overflow_stack, nullptr).code;
      },
      &seen);
  ASSERT_EQ(mp_join_thread(thread, 60000), 1);

  EXPECT_EQ(seen.first, EXCEPTION_STACK_OVERFLOW);
  EXPECT_TRUE(seen.is_guarded);
  EXPECT_EQ(seen.second, EXCEPTION_STACK_OVERFLOW);
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
