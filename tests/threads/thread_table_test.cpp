#include "threads/thread_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "orsincore/threads.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"
#include "tests/threads/gate.h"
#include "tests/threads/held_thread.h"

namespace orsin {
namespace {

using test::AwaitedThread;
using test::Gate;
using test::HeldThread;
using test::Lines;
using test::LogCapture;

constexpr unsigned int kLongMs = 60000;

class ThreadTable : public testing::Test {
 protected:
  void SetUp() override { start_thread_table(); }
  void TearDown() override { stop_thread_table(); }
};

void store_own_name(void* destination) {
  *static_cast<std::string*>(destination) = mp_get_thread_name();
}

void wait_at(void* gate) {
  static_cast<Gate*>(gate)->wait();
}

void do_nothing(void* /*argument*/) {}

std::string name_seen_by_thread(const char* name) {
  std::string seen;
  const unsigned int thread = mp_start_thread(name, store_own_name, &seen);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
  return seen;
}

TEST_F(ThreadTable, TellsAThreadItsName) {
  EXPECT_EQ(name_seen_by_thread("Reader"), "Reader");
}

TEST_F(ThreadTable, NamesAThreadWithoutANameUnknown) {
  EXPECT_EQ(name_seen_by_thread(nullptr), "Unknown");
  EXPECT_EQ(name_seen_by_thread(""), "Unknown");
}

TEST_F(ThreadTable, KeepsA31ByteNameWhole) {
  const std::string name(31, 'n');

  EXPECT_EQ(name_seen_by_thread(name.c_str()), name);
}

// What follows them is no part of the name: callers keep names shorter.
TEST_F(ThreadTable, KeepsTheFirst32BytesOfALongerNameUnterminated) {
  const std::string name = std::string(32, 'n') + "and more";

  const std::string seen = name_seen_by_thread(name.c_str());

  EXPECT_EQ(seen.substr(0, 32), name.substr(0, 32));
  EXPECT_GT(seen.size(), 32U);
}

TEST_F(ThreadTable, CallsAForeignThreadUnknown) {
  EXPECT_STREQ(mp_get_thread_name(), "Unknown");
}

TEST_F(ThreadTable, CallsAForeignThreadUnknownBesideNamedOnes) {
  HeldThread held;
  const unsigned int thread = mp_start_thread("Named", HeldThread::run, &held);

  EXPECT_STREQ(mp_get_thread_name(), "Unknown");

  held.release();
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
}

TEST_F(ThreadTable, RunsAThreadWithoutAnEntryToItsEnd) {
  const unsigned int thread = mp_start_thread("Empty", nullptr, nullptr);

  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
}

TEST_F(ThreadTable, JoinsAThreadOnlyOnce) {
  const unsigned int thread = mp_start_thread("Once", do_nothing, nullptr);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);

  EXPECT_EQ(mp_join_thread(thread, kLongMs), 0);
}

TEST_F(ThreadTable, KeepsForgettingAThreadWhoseJoinTimesOut) {
  const LogCapture log;
  HeldThread held;
  const unsigned int thread = mp_start_thread("Slow", HeldThread::run, &held);
  const AwaitedThread awaited(thread);

  EXPECT_EQ(mp_join_thread(thread, 1), 0);

  EXPECT_EQ(log.lines(), Lines{"WARN : Timeout while waiting for thread 'Slow' to terminate"});
  EXPECT_EQ(thread_handle(static_cast<int>(thread)), nullptr);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 0);
  EXPECT_EQ(name_seen_by_thread("Next"), "Next");  // In the record of the thread that still runs.
  EXPECT_EQ(thread_record_count(), 1);
  held.release();
}

TEST_F(ThreadTable, UsesTheRecordOfAJoinedThreadAgain) {
  for (int i = 0; i < 50; ++i) {
    const unsigned int thread = mp_start_thread("Cycle", do_nothing, nullptr);
    ASSERT_EQ(mp_join_thread(thread, kLongMs), 1);
  }

  EXPECT_EQ(thread_record_count(), 1);
}

TEST_F(ThreadTable, FindsTheHandleOfARunningThreadOnly) {
  Gate gate;
  const unsigned int thread = mp_start_thread("Running", wait_at, &gate);

  EXPECT_NE(thread_handle(static_cast<int>(thread)), nullptr);
  EXPECT_EQ(thread_handle(-1), nullptr);

  gate.open();
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
  EXPECT_EQ(thread_handle(static_cast<int>(thread)), nullptr);
}

TEST_F(ThreadTable, ForgetsADetachedThread) {
  HeldThread held;
  const unsigned int thread = mp_start_thread("Detached", HeldThread::run, &held);
  const AwaitedThread awaited(thread);

  EXPECT_EQ(mp_detach_thread(static_cast<int>(thread)), 1);

  EXPECT_EQ(mp_detach_thread(static_cast<int>(thread)), 0);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 0);
  held.release();
  EXPECT_EQ(held.name(), "Detached");  // A record that is not in use still tells the name.
}

TEST_F(ThreadTable, DoesNotDetachAnUnknownIdentifier) {
  EXPECT_EQ(mp_detach_thread(-1), 0);
}

TEST_F(ThreadTable, GrowsWithTheThreadsThatRunAtOnce) {
  constexpr int kThreads = 40;
  Gate gate;
  unsigned int threads[kThreads];

  for (unsigned int& thread : threads) {
    thread = mp_start_thread("Many", wait_at, &gate);
  }

  EXPECT_EQ(thread_record_count(), kThreads);
  gate.open();
  for (const unsigned int thread : threads) {
    EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
  }
}

TEST_F(ThreadTable, StartsNothingThatItHasNoRoomFor) {
  const LogCapture log;
  unsigned int thread = 0;
  {
    const test::AllocationRefusal refusal(16 * sizeof(void*));
    thread = mp_start_thread("Many", do_nothing, nullptr);
  }

  EXPECT_EQ(thread, 0xFFFFFFFF);
  EXPECT_EQ(thread_record_count(), 0);
  EXPECT_EQ(log.lines(), Lines{"ERROR: Vector ensure: Not enough memory..(0 + 1 * 8)"});
}

TEST(ThreadTableBeforeStart, KnowsNobody) {
  EXPECT_EQ(mp_join_thread(1, 0), 0);
  EXPECT_STREQ(mp_get_thread_name(), "Unknown");
}

TEST(ThreadTableBeforeStart, IsMadeByTheFirstThread) {
  EXPECT_EQ(name_seen_by_thread("First"), "First");

  stop_thread_table();
}

}  // namespace
}  // namespace orsin
