// Sleeps let the completion routines run that the system has queued for the thread.
#include <gtest/gtest.h>

#include "base/win/windows.h"
#include "orsincore/threads.h"

namespace {

void CALLBACK count_up(ULONG_PTR counter) {
  ++*reinterpret_cast<int*>(counter);
}

TEST(Sleep, RunsQueuedRoutinesWhateverItsTime) {
  const struct {
    const char* what;
    void (*sleep)();
  } cases[] = {
      {"none", [] { mp_timedwait(0); }},
      {"one millisecond", [] { mp_timedwait(1'000'000); }},
      {"more", [] { mp_timedwait(2'500'000); }},
      {"yield", mp_yield},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    int calls = 0;
    ASSERT_NE(QueueUserAPC(count_up, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&calls)), 0U);

    c.sleep();

    EXPECT_EQ(calls, 1);
  }
}

// The system's word for "for ever" must not become one: the thread would never come back.
TEST(Sleep, DoesNotSleepAtAllForTheLongestTime) {
  int calls = 0;
  ASSERT_NE(QueueUserAPC(count_up, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&calls)), 0U);

  mp_timedwait(0xFFFFFFFFLL * 1'000'000);

  EXPECT_EQ(calls, 0);
  mp_yield();
  EXPECT_EQ(calls, 1);
}

}  // namespace
