#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "base/lock.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

// Whether another thread could take the mutex now.
bool is_free(__mutex_str* mutex) {
  bool taken = false;
  std::thread([&] {
    taken = mp_test_mutex(mutex) == 1;
    if (taken) {
      mp_release_mutex(mutex);
    }
  }).join();
  return taken;
}

TEST(MutexPrimitive, IsFreeWhenNew) {
  __mutex_str* mutex = mp_new_mutex(0, 0);

  EXPECT_TRUE(is_free(mutex));

  mp_delete_mutex(mutex);
}

TEST(MutexPrimitive, CanBeCreatedHeldByTheCaller) {
  __mutex_str* mutex = mp_new_mutex(1, 0);

  EXPECT_FALSE(is_free(mutex));
  EXPECT_EQ(mp_release_mutex(mutex), 0);
  EXPECT_TRUE(is_free(mutex));

  mp_delete_mutex(mutex);
}

TEST(MutexPrimitive, NeedsAsManyReleasesAsTakes) {
  __mutex_str* mutex = mp_new_mutex(0, 0);
  EXPECT_EQ(mp_get_mutex(mutex), 0);
  EXPECT_EQ(mp_get_mutex(mutex), 0);

  mp_release_mutex(mutex);
  EXPECT_FALSE(is_free(mutex));
  mp_release_mutex(mutex);
  EXPECT_TRUE(is_free(mutex));

  mp_delete_mutex(mutex);
}

TEST(MutexPrimitive, TestTakesAMutexThatTheThreadAlreadyHolds) {
  __mutex_str* mutex = mp_new_mutex(1, 0);

  EXPECT_EQ(mp_test_mutex(mutex), 1);
  mp_release_mutex(mutex);
  EXPECT_FALSE(is_free(mutex));
  mp_release_mutex(mutex);
  EXPECT_TRUE(is_free(mutex));

  mp_delete_mutex(mutex);
}

TEST(MutexPrimitive, TestDoesNotBlockOnAForeignMutex) {
  __mutex_str* mutex = mp_new_mutex(1, 0);

  int result = -1;
  std::thread([&] { result = mp_test_mutex(mutex); }).join();

  EXPECT_EQ(result, 0);
  mp_release_mutex(mutex);
  mp_delete_mutex(mutex);
}

TEST(ScopedLock, DoesNothingBeforeTheMutexExists) {
  Mutex mutex;

  const ScopedLock guard(mutex);

  EXPECT_FALSE(mutex.exists());
}

TEST(ConditionPrimitive, KeepsAShortTimeoutAPollThatHoldsTheMutex) {
  __mutex_str* mutex = mp_new_mutex(1, 0);
  __cond_str* condition = mp_new_cond_block();

  EXPECT_EQ(mp_cond_timedwait(condition, mutex, 999'999), 0);
  EXPECT_EQ(mp_cond_timedwait(condition, mutex, -1), 0);
  EXPECT_EQ(mp_cond_timedwait(condition, mutex, 0xFFFFFFFFLL * 1'000'000), 0);

  EXPECT_FALSE(is_free(mutex));
  mp_release_mutex(mutex);
  mp_delete_cond_block(condition);
  mp_delete_mutex(mutex);
}

TEST(ConditionPrimitive, ReportsATimeout) {
  __mutex_str* mutex = mp_new_mutex(1, 0);
  __cond_str* condition = mp_new_cond_block();

  EXPECT_EQ(mp_cond_timedwait(condition, mutex, 1'000'000), 0);

  EXPECT_FALSE(is_free(mutex));  // Taken again after the wait.
  mp_release_mutex(mutex);
  mp_delete_cond_block(condition);
  mp_delete_mutex(mutex);
}

TEST(ConditionPrimitive, TimedWaitReportsASignal) {
  __mutex_str* mutex = mp_new_mutex(1, 0);
  __cond_str* condition = mp_new_cond_block();
  bool ready = false;
  std::thread signaller([&] {
    mp_get_mutex(mutex);  // Only free once the waiter waits.
    ready = true;
    mp_cond_signal(condition);
    mp_release_mutex(mutex);
  });

  int woken = 0;
  while (!ready) {
    woken = mp_cond_timedwait(condition, mutex, 60'000'000'000);
  }

  EXPECT_NE(woken, 0);
  mp_release_mutex(mutex);
  signaller.join();
  mp_delete_cond_block(condition);
  mp_delete_mutex(mutex);
}

TEST(ConditionPrimitive, BroadcastWakesEveryWaiter) {
  constexpr int kWaiters = 4;
  __mutex_str* mutex = mp_new_mutex(0, 0);
  __cond_str* changed = mp_new_cond_block();
  __cond_str* arrived = mp_new_cond_block();
  int waiting = 0;
  int woken = 0;
  bool go = false;
  std::thread threads[kWaiters];
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      mp_get_mutex(mutex);
      ++waiting;
      mp_cond_signal(arrived);
      while (!go) {
        mp_cond_wait(changed, mutex);
      }
      ++woken;
      mp_release_mutex(mutex);
    });
  }

  mp_get_mutex(mutex);
  while (waiting < kWaiters) {
    mp_cond_wait(arrived, mutex);
  }
  go = true;
  mp_cond_broadcast(changed);
  mp_release_mutex(mutex);
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(woken, kWaiters);
  mp_delete_cond_block(arrived);
  mp_delete_cond_block(changed);
  mp_delete_mutex(mutex);
}

// Three wait; the one whose time is over goes, wherever it stands, and the others are still woken.
TEST(ConditionPrimitive, ATimeoutLeavesTheOtherWaitersWaiting) {
  constexpr int kWaiters = 3;
  for (int timed = 0; timed < kWaiters; ++timed) {
    SCOPED_TRACE(timed);
    __mutex_str* mutex = mp_new_mutex(0, 0);
    __cond_str* changed = mp_new_cond_block();
    __cond_str* arrived = mp_new_cond_block();
    int waiting = 0;
    int woken = 0;
    bool timed_out = false;
    bool go = false;
    std::thread threads[kWaiters];
    mp_get_mutex(mutex);
    for (int i = 0; i < kWaiters; ++i) {
      threads[i] = std::thread([&, i] {
        mp_get_mutex(mutex);
        ++waiting;
        mp_cond_signal(arrived);
        if (i == timed) {
          while (mp_cond_timedwait(changed, mutex, 2'000'000) != 0) {
          }
          timed_out = true;
          mp_cond_signal(arrived);
        } else {
          while (!go) {
            mp_cond_wait(changed, mutex);
          }
          ++woken;
        }
        mp_release_mutex(mutex);
      });
      while (waiting <= i) {
        mp_cond_wait(arrived, mutex);
      }
    }

    while (!timed_out) {
      mp_cond_wait(arrived, mutex);
    }
    EXPECT_EQ(woken, 0);
    go = true;
    mp_cond_signal(changed);
    mp_cond_signal(changed);
    mp_release_mutex(mutex);
    for (std::thread& thread : threads) {
      thread.join();
    }

    EXPECT_EQ(woken, kWaiters - 1);
    mp_delete_cond_block(arrived);
    mp_delete_cond_block(changed);
    mp_delete_mutex(mutex);
  }
}

// Time-outs and signals race for the same waiters; a tangled list would hang or crash.
TEST(ConditionPrimitive, SurvivesSignalsThatRaceWithTimeouts) {
  constexpr int kWaiters = 3;
  constexpr int kWaits = 100;
  __mutex_str* mutex = mp_new_mutex(0, 0);
  __cond_str* condition = mp_new_cond_block();
  std::atomic<int> running = kWaiters;
  std::thread threads[kWaiters];
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int i = 0; i < kWaits; ++i) {
        mp_get_mutex(mutex);
        mp_cond_timedwait(condition, mutex, 1'000'000);
        mp_release_mutex(mutex);
      }
      --running;
    });
  }

  for (int i = 0; running.load() > 0; ++i) {
    if (i % 64 == 0) {
      mp_cond_broadcast(condition);
    } else {
      mp_cond_signal(condition);
    }
    mp_yield();
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(running.load(), 0);
  mp_delete_cond_block(condition);
  mp_delete_mutex(mutex);
}

// Two threads hand a turn back and forth: a lost wake-up would hang.
TEST(ConditionPrimitive, LosesNoWakeUpInAPingPong) {
  constexpr int kRounds = 20000;
  __mutex_str* mutex = mp_new_mutex(0, 0);
  __cond_str* turn_changed = mp_new_cond_block();
  int turn = 0;
  int rounds = 0;
  const auto play = [&](int me) {
    for (int i = 0; i < kRounds; ++i) {
      mp_get_mutex(mutex);
      while (turn != me) {
        mp_cond_wait(turn_changed, mutex);
      }
      turn = 1 - me;
      ++rounds;
      mp_cond_signal(turn_changed);
      mp_release_mutex(mutex);
    }
  };

  std::thread other([&] { play(1); });
  play(0);
  other.join();

  EXPECT_EQ(rounds, 2 * kRounds);
  mp_delete_cond_block(turn_changed);
  mp_delete_mutex(mutex);
}

TEST(ThreadLocalKey, IsNullUntilSet) {
  __tls_key_str* key = mp_key_create();
  ASSERT_NE(key, nullptr);

  EXPECT_EQ(mp_getspecific(key), nullptr);

  mp_key_delete(key);
}

TEST(ThreadLocalKey, KeepsAValueForEachThread) {
  __tls_key_str* key = mp_key_create();
  int mine = 0;
  int theirs = 0;
  EXPECT_EQ(mp_setspecific(key, &mine), 0);

  void* seen = &mine;
  std::thread([&] {
    seen = mp_getspecific(key);
    mp_setspecific(key, &theirs);
  }).join();

  EXPECT_EQ(seen, nullptr);
  EXPECT_EQ(mp_getspecific(key), &mine);
  mp_key_delete(key);
}

TEST(ThreadLocalKey, DeletingNullDoesNothing) {
  mp_key_delete(nullptr);
}

TEST(Sleep, ReturnsZeroWhateverTheTime) {
  EXPECT_EQ(mp_timedwait(-1), 0);
  EXPECT_EQ(mp_timedwait(0), 0);
  EXPECT_EQ(mp_timedwait(1'000'000), 0);
  EXPECT_EQ(mp_timedwait(2'500'000), 0);
  EXPECT_EQ(mp_timedwait(0xFFFFFFFFLL * 1'000'000), 0);  // Does not sleep at all.
  mp_yield();
}

}  // namespace
}  // namespace orsin
