#include "threads/scheduling.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::LogCapture;

// The priority that a preset leaves a thread of its own with.
int priority_after(void (*preset)()) {
  int priority = THREAD_PRIORITY_ERROR_RETURN;
  std::thread([&] {
    preset();
    priority = GetThreadPriority(GetCurrentThread());
  }).join();
  return priority;
}

TEST(SchedulingPreset, SetsThePriorityOfTheCallingThread) {
  const struct {
    const char* what;
    void (*preset)();
    int priority;
  } cases[] = {
      {"highest", mp_schedule_highest, THREAD_PRIORITY_HIGHEST},
      {"high", mp_schedule_high, THREAD_PRIORITY_ABOVE_NORMAL},
      {"low", mp_schedule_low, THREAD_PRIORITY_IDLE},
      {"ndpi", mp_schedule_ndpi, THREAD_PRIORITY_NORMAL},
      {"start-up", schedule_for_startup, THREAD_PRIORITY_ABOVE_NORMAL},
  };
  const LogCapture log;
  const DWORD process_class = GetPriorityClass(GetCurrentProcess());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(priority_after(c.preset), c.priority);
  }
  SetPriorityClass(GetCurrentProcess(), process_class);
}

TEST(SchedulingPreset, OfStartUpRaisesTheProcess) {
  const DWORD process_class = GetPriorityClass(GetCurrentProcess());

  std::thread(schedule_for_startup).join();

  EXPECT_EQ(GetPriorityClass(GetCurrentProcess()), DWORD{HIGH_PRIORITY_CLASS});
  SetPriorityClass(GetCurrentProcess(), process_class);
}

// The test writes debug lines when it fails, so a second test would repeat them.
TEST(AdminPrivileges, AreTestedOnlyOnce) {
  const bool first = ov_admin_privileges();
  const LogCapture log(3);

  EXPECT_EQ(ov_admin_privileges(), first);

  EXPECT_EQ(log.text(), "");
}

}  // namespace
}  // namespace orsin
