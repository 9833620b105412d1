// The refusals of the platform, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>

#include "base/fpu_mode.h"
#include "base/processor_info.h"
#include "orsincore/processors.h"
#include "orsincore/startup.h"
#include "orsincore/threads.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/support/log_capture.h"
#include "tests/threads/gate.h"
#include "tests/threads/held_thread.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::HeldThread;
using test::Lines;
using test::LogCapture;

constexpr unsigned int kNoThread = 0xFFFFFFFF;
constexpr unsigned int kLongMs = 60000;

class RefusingPlatform : public testing::Test {
 protected:
  void SetUp() override { start_thread_table(); }
  void TearDown() override {
    stop_thread_table();
    fake_processors() = {};
    forget_processors();
  }
};

TEST_F(RefusingPlatform, KeepsTheRecordOfAThreadThatCouldNotBeCreatedInUse) {
  const LogCapture log;
  fake_processors().refuse_threads = true;
  errno = 11;

  EXPECT_EQ(mp_start_thread(
                "Refused", [](void*) {}, nullptr),
            kNoThread);

  EXPECT_EQ(log.lines(), Lines{"ERROR: MP: Failed to start thread : 'error 11'"});
  EXPECT_EQ(mp_join_thread(0, 0), 0);  // A record without a thread cannot be joined.
  fake_processors().refuse_threads = false;
  const unsigned int thread = mp_start_thread(
      "Next", [](void*) {}, nullptr);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
  EXPECT_EQ(thread_record_count(), 2);
}

TEST_F(RefusingPlatform, AsksForAStackOfOneMebibyte) {
  const unsigned int thread = mp_start_thread(
      "Deep", [](void*) {}, nullptr);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);

  EXPECT_EQ(fake_processors().stack_bytes, 1'048'576u);
}

// A thread begins with what its system gives it, which need not be the library's floating-point mode.
TEST_F(RefusingPlatform, StartsEveryThreadInTheModeThatWasRecorded) {
  constexpr std::uint32_t kRounding = 0x300;
  forget_fpu_mode();
  fpu_setup(false);
  const std::uint32_t recorded = fake_processors().fpu_control;
  fake_processors().fpu_control ^= kRounding;

  const unsigned int thread = mp_start_thread(
      "Rounding", [](void*) {}, nullptr);

  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
  EXPECT_EQ(fake_processors().fpu_control, recorded);
  forget_fpu_mode();
}

// Whoever joins a thread then frees what it works with.
TEST_F(RefusingPlatform, WaitsForAThreadAlsoWithoutAHandleOfItsOwn) {
  fake_processors().refuse_duplicates = true;
  test::Gate gate;
  bool has_ended = false;
  struct Work {
    test::Gate& gate;
    bool& has_ended;
  } work{gate, has_ended};
  const unsigned int thread = mp_start_thread(
      "Worker",
      [](void* argument) {
        auto* its = static_cast<Work*>(argument);
        its->gate.wait();
        its->has_ended = true;
      },
      &work);
  std::thread opener([&] { gate.open(); });

  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);

  EXPECT_TRUE(has_ended);
  opener.join();
}

TEST_F(RefusingPlatform, AFailedStartKeepsNothingOfTheThreadWhoseRecordItTook) {
  const LogCapture log;
  const unsigned int first = mp_start_thread(
      "First", [](void*) {}, nullptr);
  ASSERT_EQ(mp_join_thread(first, kLongMs), 1);
  fake_processors().refuse_threads = true;
  errno = 11;

  mp_start_thread(
      "Refused", [](void*) {}, nullptr);

  EXPECT_EQ(thread_record_count(), 1);
  EXPECT_EQ(mp_join_thread(first, 0), 0);
}

// The first join has no handle of its own, so it looks again and again; the second gives up on the thread.
TEST_F(RefusingPlatform, AJoinWithoutAHandleEndsWithTheRecord) {
  const LogCapture log;
  static test::Gate looking;
  fake_processors().refuse_duplicates = true;
  fake_processors().on_wait = [] { looking.open(); };
  HeldThread held;
  const unsigned int thread = mp_start_thread("Held", HeldThread::run, &held);
  int first = -1;
  std::thread joiner([&] { first = mp_join_thread(thread, kLongMs); });
  looking.wait();

  EXPECT_EQ(mp_join_thread(thread, 0), 0);
  joiner.join();

  EXPECT_EQ(first, 0);
  held.release();
}

TEST_F(RefusingPlatform, GivesUpInTimeWithoutAHandleOfItsOwn) {
  const LogCapture log;
  fake_processors().refuse_duplicates = true;
  HeldThread held;
  const unsigned int thread = mp_start_thread("Held", HeldThread::run, &held);

  EXPECT_EQ(mp_join_thread(thread, 5), 0);

  held.release();
  EXPECT_EQ(log.lines(), Lines{"WARN : Timeout while waiting for thread 'Held' to terminate"});
}

TEST_F(RefusingPlatform, WarnsOfAWaitThatFails) {
  const LogCapture log;
  const unsigned int thread = mp_start_thread(
      "Lost", [](void*) {}, nullptr);
  fake_processors().refuse_waits = true;
  errno = 6;

  EXPECT_EQ(mp_join_thread(thread, kLongMs), 0);

  EXPECT_EQ(log.lines(), Lines{"WARN : Error while waiting for thread 'Lost' to terminate (6)"});
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 0);
}

// The first join waits; a second one gives up on the thread, whose record and handle the next thread
// is given. What the first one then forgets must not be that.
TEST_F(RefusingPlatform, AJoinThatWasOvertakenLeavesTheNextThreadAlone) {
  const LogCapture log;
  static HeldThread first;
  static HeldThread next;
  static unsigned int first_thread = 0;
  static unsigned int next_thread = 0;
  static void* first_handle = nullptr;
  first_thread = mp_start_thread("First", HeldThread::run, &first);
  first_handle = thread_handle(static_cast<int>(first_thread));
  fake_processors().on_wait = [] {
    EXPECT_EQ(mp_join_thread(first_thread, 0), 0);
    next_thread = mp_start_thread("Next", HeldThread::run, &next);
    EXPECT_EQ(thread_handle(static_cast<int>(next_thread)), first_handle);
    first.release();
  };

  EXPECT_EQ(mp_join_thread(first_thread, kLongMs), 1);

  EXPECT_EQ(thread_handle(static_cast<int>(next_thread)), first_handle) << "it was forgotten";
  next.release();
  EXPECT_EQ(mp_join_thread(next_thread, kLongMs), 1);
  EXPECT_EQ(log.lines(), Lines{"WARN : Timeout while waiting for thread 'First' to terminate"});
}

TEST_F(RefusingPlatform, ReportsTheRecordOfAStartThatFailedAtClosedown) {
  const LogCapture log(1);
  fake_processors().refuse_threads = true;
  errno = 11;
  mp_start_thread(
      "Refused", [](void*) {}, nullptr);

  stop_thread_table();

  EXPECT_EQ(log.lines(), (Lines{"ERROR: MP: Failed to start thread : 'error 11'",
                                "WARN : MP: Can't terminate thread(0): 0"}));
}

TEST_F(RefusingPlatform, WarnsOfAThreadThatClosedownCannotEnd) {
  const LogCapture log;
  HeldThread held;
  const unsigned int thread = mp_start_thread("Stubborn", HeldThread::run, &held);

  stop_thread_table();  // The stand-in refuses to end threads.

  EXPECT_EQ(log.lines(), Lines{"WARN : MP: Can't terminate thread(0): " + std::to_string(thread)});
  held.release();
}

// Not the one that closes down, nor one that the table has forgotten, nor where there is none.
TEST_F(RefusingPlatform, ClosedownEndsTheOtherThreadsOfTheTable) {
  const LogCapture log;
  fake_processors().ends_threads = true;
  const std::size_t open_before = test::open_thread_handles();
  HeldThread held;
  HeldThread detached;
  const unsigned int held_thread = mp_start_thread("Held", HeldThread::run, &held);
  const unsigned int detached_thread = mp_start_thread("Detached", HeldThread::run, &detached);
  const test::AwaitedThread held_awaited(held_thread);
  const test::AwaitedThread detached_awaited(detached_thread);
  fake_processors().refuse_threads = true;
  mp_start_thread(
      "Refused", [](void*) {}, nullptr);
  fake_processors().refuse_threads = false;
  struct {
    test::Gate begin;
    test::Gate done;
  } closedown;
  const unsigned int own_thread = mp_start_thread(
      "Own",
      [](void* argument) {
        auto& its = *static_cast<decltype(closedown)*>(argument);
        its.begin.wait();
        stop_thread_table();
        its.done.open();
      },
      &closedown);
  ASSERT_EQ(mp_detach_thread(static_cast<int>(detached_thread)), 1);

  closedown.begin.open();
  closedown.done.wait();

  EXPECT_EQ(fake_processors().ended, std::vector<unsigned int>{held_thread});
  EXPECT_EQ(log.lines().back(),
            "WARN : MP: Can't terminate thread(3): " + std::to_string(own_thread));
  EXPECT_EQ(thread_record_count(), 0);
  EXPECT_EQ(test::open_thread_handles(), open_before + 2);  // Those of the test's own.
  held.release();
  detached.release();
}

TEST_F(RefusingPlatform, ReportsARefusedIdealProcessor) {
  const LogCapture log;
  query_processors(false);
  fake_processors().refuse_affinity = true;
  errno = 22;

  EXPECT_FALSE(mp_set_thread_affinity(1));

  EXPECT_EQ(log.lines(), Lines{"ERROR: Thread ideal processor failed : 'error 22'"});
}

TEST_F(RefusingPlatform, AsksForTheIdealProcessorThatWasPlanned) {
  fake_processors().cores = {{0x1, 0}, {0x6, 0}};
  query_processors(false);

  EXPECT_TRUE(mp_set_thread_affinity(1));

  EXPECT_EQ(fake_processors().bound_group, 0);
  EXPECT_EQ(fake_processors().bound_number, 1);
}

TEST_F(RefusingPlatform, ReportsARefusedGroupAffinity) {
  for (const bool strict : {false, true}) {
    SCOPED_TRACE(strict);
    const LogCapture log;
    forget_processors();
    fake_processors().cores = {{0x3, 0}, {0xC, 1}};
    query_processors(strict);
    fake_processors().refuse_affinity = true;
    errno = 22;

    EXPECT_FALSE(mp_set_thread_affinity(1));

    EXPECT_EQ(log.lines(), Lines{"ERROR: Thread affinity failed : 'error 22'"});
  }
}

TEST_F(RefusingPlatform, AsksForTheGroupAndMaskThatWerePlanned) {
  const struct {
    const char* what;
    bool strict;
    std::uint64_t mask;
  } cases[] = {{"strict", true, 0xC}, {"group", false, 0xF}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    forget_processors();
    fake_processors().cores = {{0x1, 0}, {0xC, 1}, {0x3, 1}};
    query_processors(c.strict);

    EXPECT_TRUE(mp_set_thread_affinity(1));

    EXPECT_EQ(fake_processors().bound_group, 1);
    EXPECT_EQ(fake_processors().bound_mask, c.mask);
  }
}

TEST_F(RefusingPlatform, RefusesAnIndexOutsideTheTableWithoutAMessage) {
  const LogCapture log;
  query_processors(false);

  EXPECT_FALSE(mp_set_thread_affinity(-1));
  EXPECT_FALSE(mp_set_thread_affinity(2));

  EXPECT_EQ(log.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
