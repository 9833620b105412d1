#include "threads/executor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "tests/support/new_refusal.h"
#include "tests/threads/gate.h"
#include "threads/thread_table.h"

#if defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define ORSIN_TEST_IS_SANITIZED
#endif
#endif

namespace orsin {
namespace {

using test::Gate;

// A function with six pointer arguments as smp_exec() takes it.
using Job = void (*)(void*, void*, void*, void*, void*, void*);

void execute(Job job, void* a1, void* a2 = nullptr) {
  smp_exec(reinterpret_cast<void (*)()>(job), a1, a2, nullptr, nullptr, nullptr, nullptr);
}

// Counts the calls of each part.
void count_part(void* counts, void*, void*, void*, void*, void*) {
  static_cast<std::atomic<int>*>(counts)[smp_id()].fetch_add(1, std::memory_order_relaxed);
}

class ExecutorTest : public testing::Test {
 protected:
  void TearDown() override {
    stop_executor();
    stop_thread_table();
  }
};

using Executor = ExecutorTest;

struct Seen {
  int calls = 0;
  int part = -2;
  int spawned = -2;
  std::thread::id thread;
};

void look_around(void* destination, void*, void*, void*, void*, void*) {
  auto* seen = static_cast<Seen*>(destination);
  ++seen->calls;
  seen->part = smp_id();
  seen->spawned = smp_is_spawned();
  seen->thread = std::this_thread::get_id();
}

TEST_F(Executor, CallsOnceOnTheCallerWithOneProcessor) {
  ASSERT_EQ(start_executor(1), 1);
  ASSERT_LT(smp_numprocs(), 2);

  Seen seen;
  execute(look_around, &seen);

  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.part, 0);
  EXPECT_EQ(seen.spawned, 0);
  EXPECT_EQ(seen.thread, std::this_thread::get_id());
}

TEST_F(Executor, RunsEachOfFourPartsOnceAndReturnsAfterTheLast) {
  ASSERT_EQ(start_executor(4), 4);
  EXPECT_EQ(smp_numprocs(), 4);

  std::atomic<int> counts[4] = {};
  execute(count_part, counts);

  for (const std::atomic<int>& count : counts) {
    EXPECT_EQ(count.load(), 1);
  }
}

TEST_F(Executor, HandsAllSixArgumentsOn) {
  ASSERT_EQ(start_executor(2), 2);
  int values[6] = {};
  const Job job = [](void* a, void* b, void* c, void* d, void* e, void* f) {
    void* const arguments[] = {a, b, c, d, e, f};
    for (int i = 0; smp_id() == 1 && i < 6; ++i) {
      *static_cast<int*>(arguments[i]) = i + 1;
    }
  };

  smp_exec(reinterpret_cast<void (*)()>(job), &values[0], &values[1], &values[2], &values[3],
           &values[4], &values[5]);

  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(values[i], i + 1);
  }
}

TEST_F(Executor, RunsJobsOnNamedWorkersOnly) {
  ASSERT_EQ(start_executor(3), 3);
  std::string names[3];

  execute([](void* all, void*, void*, void*, void*,
             void*) { static_cast<std::string*>(all)[smp_id()] = mp_get_thread_name(); },
          names);

  for (const std::string& name : names) {
    EXPECT_TRUE(name == "SMP-0" || name == "SMP-1" || name == "SMP-2") << name;
  }
}

TEST_F(Executor, KnowsWhetherItIsInsideAJob) {
  ASSERT_EQ(start_executor(2), 2);
  std::atomic<int> spawned = 0;

  execute([](void* count, void*, void*, void*, void*,
             void*) { *static_cast<std::atomic<int>*>(count) += smp_is_spawned(); },
          &spawned);

  EXPECT_EQ(spawned.load(), 2);
  EXPECT_EQ(smp_is_spawned(), 0);
  EXPECT_EQ(smp_id(), 0);
}

TEST_F(Executor, StartsNoMoreThan128Workers) {
  EXPECT_EQ(start_executor(200), 128);
  EXPECT_EQ(smp_numprocs(), 128);

  std::vector<std::atomic<int>> counts(128);
  execute(count_part, counts.data());

  for (const std::atomic<int>& count : counts) {
    EXPECT_EQ(count.load(), 1);
  }
}

TEST_F(Executor, AnswersASecondStartWithTheWorkersItHas) {
  ASSERT_EQ(start_executor(2), 2);

  EXPECT_EQ(start_executor(4), 2);

  EXPECT_EQ(smp_numprocs(), 2);
}

TEST_F(Executor, KeepsTheActiveCountAfterItsStop) {
  ASSERT_EQ(start_executor(3), 3);

  stop_executor();

  EXPECT_EQ(smp_numprocs(), 3);
}

TEST_F(Executor, StartsAgainAfterAStop) {
  ASSERT_EQ(start_executor(3), 3);
  stop_executor();

  ASSERT_EQ(start_executor(2), 2);

  std::atomic<int> counts[2] = {};
  execute(count_part, counts);
  EXPECT_EQ(counts[0].load(), 1);
  EXPECT_EQ(counts[1].load(), 1);
}

TEST_F(Executor, RunsInlineWhenItStartsAgainWithOneProcessor) {
  ASSERT_EQ(start_executor(3), 3);
  stop_executor();

  EXPECT_EQ(start_executor(1), 1);

  std::atomic<int> counts[3] = {};
  execute(count_part, counts);
  EXPECT_EQ(smp_numprocs(), 1);
  EXPECT_EQ(counts[0].load(), 1);
}

TEST_F(Executor, RunsInlineWithoutMemoryForAnyOfItsPieces) {
  constexpr int kPiecesMin = 8;
  const test::LogCapture log;
  start_thread_table();
  int granted = 0;
  while (true) {
    SCOPED_TRACE(granted);
    int workers = 0;
    {
      const test::NewRefusal refusal(granted, 1);
      workers = start_executor(2);
    }
    if (workers == 2) {
      break;
    }
    std::atomic<int> counts[2] = {};
    execute(count_part, counts);
    ASSERT_EQ(workers, 1);
    EXPECT_EQ(smp_numprocs(), 1);
    EXPECT_EQ(counts[0].load(), 1);
    EXPECT_EQ(counts[1].load(), 0);
    stop_executor();
    ++granted;
  }
  EXPECT_GE(granted, kPiecesMin);
  const test::Lines lines = log.lines();
  EXPECT_EQ(
      std::count(lines.begin(), lines.end(), "ERROR: SMP: Can't allocate thread local storage.."),
      1);
}

TEST_F(Executor, FreesTheRecordsOfItsWorkers) {
  ASSERT_EQ(start_executor(4), 4);
  stop_executor();
  ASSERT_EQ(start_executor(4), 4);

  EXPECT_EQ(thread_record_count(), 4);
}

TEST_F(Executor, RunsACallWhileAnotherIsHeldUp) {
  ASSERT_EQ(start_executor(2), 2);
  Gate gate;
  std::thread slow([&] {
    execute(
        [](void* argument, void*, void*, void*, void*, void*) {
          if (smp_id() == 0) {  // Holds one worker; the other goes on.
            static_cast<Gate*>(argument)->wait();
          }
        },
        &gate);
  });

  std::atomic<int> counts[2] = {};
  execute(count_part, counts);

  EXPECT_EQ(counts[0].load() + counts[1].load(), 2);
  gate.open();
  slow.join();
}

// Several callers, each with counters of its own, until a million calls are made in all.
TEST_F(Executor, LosesNoPartAndNeverHangsUnderSeveralCallers) {
#if defined(ORSIN_TEST_IS_SANITIZED)
  constexpr int kCallsInAll = 40'000;
#else
  constexpr int kCallsInAll = 1'000'000;
#endif
  constexpr int kCallers = 4;
  constexpr int kWorkers = 2;
  ASSERT_EQ(start_executor(kWorkers), kWorkers);
  std::atomic<int> wrong = 0;

  std::thread callers[kCallers];
  for (std::thread& caller : callers) {
    caller = std::thread([&] {
      for (int i = 0; i < kCallsInAll / kCallers; ++i) {
        std::atomic<int> counts[kWorkers] = {};
        execute(count_part, counts);
        if (counts[0].load() != 1 || counts[1].load() != 1) {
          ++wrong;
        }
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }

  EXPECT_EQ(wrong.load(), 0);
}

// More callers than the ring has room for, so that they wait for space.
TEST_F(Executor, LosesNoPartWhenTheRingIsFull) {
  constexpr int kCallers = 12;
  constexpr int kCalls = 300;
  constexpr int kWorkers = 3;
  ASSERT_EQ(start_executor(kWorkers), kWorkers);
  std::atomic<int> parts = 0;

  std::thread callers[kCallers];
  for (std::thread& caller : callers) {
    caller = std::thread([&] {
      for (int i = 0; i < kCalls; ++i) {
        execute([](void* count, void*, void*, void*, void*,
                   void*) { ++*static_cast<std::atomic<int>*>(count); },
                &parts);
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }

  EXPECT_EQ(parts.load(), kCallers * kCalls * kWorkers);
}

}  // namespace
}  // namespace orsin
