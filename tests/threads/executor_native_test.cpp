// What the executor does between jobs and when threads are refused, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <string_view>

#include "base/processor_info.h"
#include "orsincore/processors.h"
#include "orsincore/threads.h"
#include "tests/platform/native/counted_primitives.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/support/log_capture.h"
#include "tests/threads/gate.h"
#include "threads/executor.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::Lines;
using test::LogCapture;

test::Gate* worker_paused = nullptr;

// A worker that waits for work is between jobs.
void look_at_own_part() {
  thread_local bool is_looking = false;
  if (!is_looking && smp_id() == -1 && smp_is_spawned() == 0) {
    is_looking = true;
    worker_paused->open();
  }
}

TEST(ExecutorOnTheStandIn, GivesAWorkerBetweenJobsThePartMinusOne) {
  test::Gate gate;
  worker_paused = &gate;
  fake_processors().on_pause = look_at_own_part;

  ASSERT_EQ(start_executor(2), 2);

  gate.wait();
  stop_executor();
  stop_thread_table();
  fake_processors() = {};
}

TEST(ExecutorOnTheStandIn, HasAWorkerForEachCoreHoweverManyLogicalProcessorsThatIs) {
  forget_processors();
  fake_processors().cores = {{0x3, 0}, {0xC, 0}, {0x30, 0}};
  static_cast<void>(query_processors(false));
  ASSERT_EQ(mp_get_numcpu(1), 6);

  EXPECT_EQ(start_executor(0), 3);
  stop_executor();
  EXPECT_EQ(start_executor(1), 1);

  stop_executor();
  stop_thread_table();
  fake_processors() = {};
  forget_processors();
}

TEST(ExecutorOnTheStandIn, RunsInlineOnAMachineWithASingleCore) {
  forget_processors();
  fake_processors().cores = {{0x3, 0}};
  static_cast<void>(query_processors(false));

  EXPECT_EQ(start_executor(0), 1);

  stop_executor();
  stop_thread_table();
  fake_processors() = {};
  forget_processors();
}

TEST(ExecutorOnTheStandIn, RunsInlineWhenAThreadIsRefused) {
  const LogCapture log;
  fake_processors().refuse_threads = true;
  errno = 11;

  EXPECT_EQ(start_executor(4), 1);

  EXPECT_EQ(smp_numprocs(), 1);
  EXPECT_EQ(log.lines(), (Lines{"ERROR: MP: Failed to start thread : 'error 11'",
                                "ERROR: SMP: Can't create MP thread: 0"}));
  stop_executor();
  stop_thread_table();
  fake_processors() = {};
}

void note_part(void* parts, void*, void*, void*, void*, void*) {
  static_cast<std::atomic<int>*>(parts)[smp_id()]++;
}

void execute_noting(std::atomic<int>* parts) {
  smp_exec(reinterpret_cast<void (*)()>(note_part), parts, nullptr, nullptr, nullptr, nullptr,
           nullptr);
}

TEST(ExecutorOnTheStandIn, ACallTakesEachLockOnceAndWakesOnceHoweverManyPartsItHas) {
  for (const int workers : {2, 8, 32, 128}) {
    SCOPED_TRACE(workers);
    ASSERT_EQ(start_executor(workers), workers);
    std::atomic<int> parts[128] = {};
    const test::PrimitiveCalls before = test::primitive_calls();

    execute_noting(parts);

    constexpr int kQueueRingAndCount = 3;  // The count's only where the caller has to sleep.
    const test::PrimitiveCalls& after = test::primitive_calls();
    EXPECT_LE(after.locks - before.locks, kQueueRingAndCount);
    EXPECT_EQ(after.wakes - before.wakes, 1);
    for (int part = 0; part < workers; ++part) {
      EXPECT_EQ(parts[part].load(), 1);
    }
    stop_executor();
  }
  stop_thread_table();
}

class ExecutorRefusedHalfWay : public testing::Test {
 protected:
  ExecutorRefusedHalfWay() {
    fake_processors().threads_granted = 2;
    errno = 11;
    workers_ = start_executor(4);
  }
  ~ExecutorRefusedHalfWay() override {
    stop_executor();
    stop_thread_table();
    fake_processors() = {};
  }

  LogCapture log_;
  int workers_ = 0;
};

TEST_F(ExecutorRefusedHalfWay, RunsInlineBesideItsIdleWorkers) {
  std::atomic<int> parts[4] = {};

  execute_noting(parts);

  EXPECT_EQ(workers_, 1);
  EXPECT_EQ(smp_numprocs(), 1);
  EXPECT_EQ(parts[0].load(), 1);
  EXPECT_EQ(log_.lines(), (Lines{"ERROR: MP: Failed to start thread : 'error 11'",
                                 "ERROR: SMP: Can't create MP thread: 2"}));
}

// The table warns of every record that is still in use: here that of the start that failed, which
// has no thread to end, and none of the workers'.
TEST_F(ExecutorRefusedHalfWay, EndsItsIdleWorkersWhenItStops) {
  stop_executor();
  stop_thread_table();

  EXPECT_EQ(log_.lines(), (Lines{"ERROR: MP: Failed to start thread : 'error 11'",
                                 "ERROR: SMP: Can't create MP thread: 2",
                                 "WARN : MP: Can't terminate thread(2): 0"}));
}

TEST_F(ExecutorRefusedHalfWay, StartsAfreshWhenThreadsAreGrantedAgain) {
  fake_processors().threads_granted = -1;
  std::atomic<int> parts[3] = {};

  EXPECT_EQ(start_executor(3), 3);
  execute_noting(parts);

  for (const std::atomic<int>& count : parts) {
    EXPECT_EQ(count.load(), 1);
  }
}

}  // namespace
}  // namespace orsin
