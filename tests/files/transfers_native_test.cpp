// Transfers on a scripted platform: those that fail, stop short, run on, or never seem to end.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "base/log_port.h"
#include "orsincore/io.h"
#include "tests/files/io_fixture.h"
#include "tests/files/outstanding_writes.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/threads/gate.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;
using test::OutstandingWrite;
using test::TransferFate;

constexpr std::uint32_t kInvalidHandle = 6;
constexpr std::uint32_t kDiskFull = 112;
constexpr int kSlots = 96;

class ScriptedTransfers : public test::IoTest {
 protected:
  ScriptedTransfers()
      : file_(io_open64(write("file", std::string(4096, 't')).c_str(), 2, false, false, true)) {}

  bool read(unsigned long long size = 100, int* ticket = nullptr) {
    return io_read_async64(file_.get(), bytes_, 0, size, ticket);
  }
  bool write_async(unsigned long long size = 100, int* ticket = nullptr) {
    return io_write_async64(file_.get(), written_, 0, size, ticket);
  }
  int complete(int& ticket, bool wait = true) { return io_complete64(file_.get(), &ticket, wait); }

  OpenFile file_;
  test::FakeTransfers transfers_;  // From here on; pending ones end before their file closes.
  char bytes_[4096] = {};
  char written_[4096] = {};
};

// ---- Starts that fail

struct StartCase {
  const char* what;
  bool is_read;
  TransferFate fate;
  std::string line;
};

TEST_F(ScriptedTransfers, AStartThatFailsSaysWhy) {
  char no_access[64];
  std::snprintf(no_access, sizeof(no_access), "ERROR: IO buffer = %p",
                static_cast<const void*>(bytes_));
  const StartCase cases[] = {
      {"end of file", true, {.error = 38}, "ERROR: IO read beyond EOF.. : 'error 38'"},
      {"invalid parameter",
       true,
       {.error = 87},
       "ERROR: IO read error(3), Wrong offset 0 or size 100"},
      {"no access", true, {.error = 998}, no_access},
      {"other", true, {.error = 6}, "ERROR: IO read error(1) : 'error 6'"},
      {"nothing read", true, {.bytes = 0}, "ERROR: IO read error(2) - (0 100)"},
      {"disk full", false, {.error = kDiskFull}, "ERROR: IO write error(1) : 'error 112'"},
      {"end of file", false, {.error = 38}, "ERROR: IO write error(1) : 'error 38'"},
      {"short", false, {.bytes = 99}, "ERROR: IO write error(2) - (99 100)"},
      {"nothing written", false, {.bytes = 0}, "ERROR: IO write error(2) - (0 100)"},
  };

  for (const StartCase& c : cases) {
    SCOPED_TRACE(c.what);
    int ticket = -7;
    transfers_.next(c.fate);

    EXPECT_FALSE(c.is_read ? read(100, &ticket) : write_async(100, &ticket));

    EXPECT_EQ(ticket, -7);
    EXPECT_EQ(log_.lines().back().substr(0, c.line.size()), c.line);
  }
}

// The system calls it a success, and its last error is whatever it was before.
TEST_F(ScriptedTransfers, AStartThatEndsShortSaysSoWhateverTheLastErrorIs) {
  for (const unsigned last_error : {0U, 5U}) {
    SCOPED_TRACE(last_error);
    transfers_.next({.bytes = 99});
    port::set_last_system_error(last_error);
    EXPECT_FALSE(write_async(100, nullptr));
    EXPECT_EQ(log_.lines().back(), "ERROR: IO write error(2) - (99 100)");

    transfers_.next({.bytes = 0});
    port::set_last_system_error(last_error);
    EXPECT_FALSE(read());
    EXPECT_EQ(log_.lines().back(), last_error == 0
                                       ? "ERROR: IO read error(2) - (0 100) : 'No Error'"
                                       : "ERROR: IO read error(2) - (0 100) : 'error 5'");
  }
}

TEST_F(ScriptedTransfers, ABufferOutOfReachIsNamedAfterTheError) {
  transfers_.next({.error = 998});

  EXPECT_FALSE(read());

  ASSERT_EQ(log_.lines().size(), 2U);
  EXPECT_EQ(log_.lines()[0], "ERROR: IO read error(1) : 'error 998'");
}

TEST_F(ScriptedTransfers, AWrongOffsetIsShownByItsLow32Bits) {
  transfers_.next({.error = 87});

  EXPECT_FALSE(io_read_async64(file_.get(), bytes_, (7LL << 32) + 513, (1ULL << 32) + 10, nullptr));

  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO read error(3), Wrong offset 513 or size 10"});
}

TEST_F(ScriptedTransfers, KeepsPassingTheSizeAsA32BitCount) {
  EXPECT_TRUE(io_read_async64(file_.get(), bytes_, 0, (1ULL << 32) + 10, nullptr));

  EXPECT_EQ(transfers_.started(), (std::vector<test::StartedTransfer>{{true, 0, 10}}));
}

TEST_F(ScriptedTransfers, AReadOfNothingSucceeds) {
  transfers_.next({.bytes = 0});

  EXPECT_TRUE(read(0));

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, AShortReadAtOnceSucceeds) {
  int ticket = 0;
  transfers_.next({.bytes = 1});

  EXPECT_TRUE(read(100, &ticket));

  EXPECT_EQ(complete(ticket), 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, AFailedStartLeavesNothingToFlush) {
  transfers_.next({.error = 6});
  ASSERT_FALSE(read());
  const std::size_t lines = log_.lines().size();

  io_flush64(file_.get());

  EXPECT_EQ(log_.lines().size(), lines);
}

TEST_F(ScriptedTransfers, ARefusedTransferStillCounts) {
  unsigned long long read_bytes = 0;
  unsigned long long written = 0;
  io_get_counters(read_bytes, written);
  transfers_.next({.error = 6});

  ASSERT_FALSE(read());

  io_get_counters(read_bytes, written);
  EXPECT_EQ(read_bytes, 100U);
}

// ---- Completion

TEST_F(ScriptedTransfers, APendingTransferIsNotDoneUntilItHasEnded) {
  int ticket = 0;
  transfers_.next({.pends = true});
  ASSERT_TRUE(read(100, &ticket));

  EXPECT_EQ(complete(ticket, false), 0);
  EXPECT_EQ(complete(ticket, false), 0);
  EXPECT_NE(bytes_[0], 't');
  EXPECT_TRUE(transfers_.release_oldest());
  EXPECT_EQ(complete(ticket, false), 1);
  EXPECT_EQ(bytes_[0], 't');
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, WaitingGoesOnWhenACompletionRoutineRan) {
  int ticket = 0;
  transfers_.next({.pends = true});
  ASSERT_TRUE(read(100, &ticket));
  transfers_.interrupt_waits(3);

  EXPECT_EQ(complete(ticket), 1);

  EXPECT_EQ(bytes_[99], 't');
}

TEST_F(ScriptedTransfers, ATransferThatIsSignalledBeforeItsStatusStillRuns) {
  int ticket = 0;
  transfers_.next({.pends = true, .signals_early = true, .error = kDiskFull});
  ASSERT_TRUE(write_async(100, &ticket));

  EXPECT_EQ(complete(ticket, false), 0);
  transfers_.release_oldest();
  EXPECT_EQ(complete(ticket, false), -1);
}

TEST_F(ScriptedTransfers, AWaitThatFailsIsAnError) {
  int ticket = 0;
  transfers_.next({.pends = true});
  ASSERT_TRUE(read(100, &ticket));
  transfers_.fail_waits(1, kInvalidHandle);

  EXPECT_EQ(complete(ticket), -1);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO completion error(1) - 6"});
  EXPECT_EQ(complete(ticket), 1);  // The transfer itself went on.
}

struct EndCase {
  const char* what;
  TransferFate fate;
  int result;
  Lines lines;
};

TEST_F(ScriptedTransfers, HowATransferEndsIsItsResult) {
  const EndCase cases[] = {
      {"all", {.pends = true}, 1, {}},
      {"short", {.pends = true, .bytes = 1}, 1, {}},
      {"nothing", {.pends = true, .bytes = 0}, -1, {"ERROR: IO completion error(4) - 0 100"}},
      {"end of file",
       {.pends = true, .error = 38},
       -1,
       {"ERROR: IO completion error(2) - read beyond end of file"}},
      {"incomplete", {.pends = true, .error = 996}, 0, {}},
      {"disk full",
       {.pends = true, .error = kDiskFull},
       -1,
       {"ERROR: IO completion error(3) - (0 100) : 'error 112'"}},
      {"aborted",
       {.pends = true, .error = 995},
       -1,
       {"ERROR: IO completion error(3) - (0 100) : 'error 995'"}},
  };
  Lines expected;

  for (const EndCase& c : cases) {
    SCOPED_TRACE(c.what);
    int ticket = 0;
    transfers_.next(c.fate);
    ASSERT_TRUE(read(100, &ticket));

    EXPECT_EQ(complete(ticket), c.result);

    EXPECT_EQ(complete(ticket), 1);  // Collected: nobody knows the ticket any more.
    expected.insert(expected.end(), c.lines.begin(), c.lines.end());
    EXPECT_EQ(log_.lines(), expected);
  }
}

TEST_F(ScriptedTransfers, WaitingTransfersSayWhetherTheyWorked) {
  transfers_.next({.pends = true});
  EXPECT_TRUE(io_read64(file_.get(), bytes_, 0, 100));
  transfers_.next({.pends = true, .bytes = 0});
  EXPECT_FALSE(io_read64(file_.get(), bytes_, 0, 100));
  transfers_.next({.error = 6});
  EXPECT_FALSE(io_read64(file_.get(), bytes_, 0, 100));
  transfers_.next({.pends = true, .error = 996});  // Counts as success, too.
  EXPECT_TRUE(io_read64(file_.get(), bytes_, 0, 100));

  transfers_.next({.pends = true});
  EXPECT_TRUE(io_write64(file_.get(), written_, 0, 100));
  transfers_.next({.pends = true, .error = kDiskFull});
  EXPECT_FALSE(io_write64(file_.get(), written_, 0, 100));
  transfers_.next({.error = kDiskFull});
  EXPECT_FALSE(io_write64(file_.get(), written_, 0, 100));
  transfers_.next({.pends = true, .error = 996});
  EXPECT_TRUE(io_write64(file_.get(), written_, 0, 100));
}

// ---- Slots

TEST_F(ScriptedTransfers, TheNinetySeventhWaitsForTheOldest) {
  transfers_.every({.pends = true});
  std::vector<int> tickets(kSlots + 1);
  for (int i = 0; i < kSlots; ++i) {
    ASSERT_TRUE(read(100, &tickets[static_cast<std::size_t>(i)]));
  }
  ASSERT_EQ(transfers_.pending_count(), kSlots);
  transfers_.time_out_waits(2);

  ASSERT_TRUE(read(100, &tickets[kSlots]));

  EXPECT_EQ(log_.text().find("Repeated"), std::string::npos);
  const Lines lines = log_.lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], "WARN : IO64: Slot timeout...");
  EXPECT_EQ(transfers_.pending_count(), kSlots);  // The oldest has ended, the newest runs.
}

TEST_F(ScriptedTransfers, KeepsTellingTheOvertakenThatTheyAreDone) {
  transfers_.next({.pends = true, .error = kDiskFull});
  int overtaken = 0;
  ASSERT_TRUE(write_async(100, &overtaken));
  transfers_.every({.pends = true});
  for (int i = 1; i < kSlots + 1; ++i) {
    ASSERT_TRUE(read());
  }

  EXPECT_EQ(complete(overtaken), 1);

  EXPECT_EQ(log_.lines(), Lines{});  // Why it failed was never looked at.
}

TEST_F(ScriptedTransfers, ASlotWhoseWaitFailsIsTakenAllTheSame) {
  transfers_.every({.pends = true});
  for (int i = 0; i < kSlots; ++i) {
    ASSERT_TRUE(read());
  }
  transfers_.fail_waits(1, kInvalidHandle);

  EXPECT_TRUE(read());

  EXPECT_EQ(transfers_.pending_count(), kSlots + 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, ASlotWhoseTransferWasDoneAtOnceServesOneThatRuns) {
  for (int i = 0; i < kSlots; ++i) {
    ASSERT_TRUE(read());
  }
  int ticket = 0;
  transfers_.next({.pends = true});
  ASSERT_TRUE(read(100, &ticket));

  EXPECT_EQ(complete(ticket, false), 0);
  EXPECT_EQ(complete(ticket), 1);
}

TEST_F(ScriptedTransfers, NoTicketIsNobodys) {
  transfers_.next({.pends = true});
  int ticket = 0;
  ASSERT_TRUE(read(100, &ticket));
  ASSERT_EQ(ticket, 1);

  EXPECT_EQ(io_complete64(file_.get(), nullptr, false), 1);

  EXPECT_EQ(complete(ticket, false), 0);
}

TEST_F(ScriptedTransfers, WithoutEventsAreLookedAtAgainAndAgain) {
  stop_transfers();
  transfers_.refuse_events();
  start_transfers(0);
  transfers_.next({.pends = true});
  int ticket = 0;
  ASSERT_TRUE(read(100, &ticket));
  EXPECT_EQ(complete(ticket, false), 0);
  std::thread disk([&] { transfers_.release_oldest(); });

  EXPECT_EQ(complete(ticket), 1);

  disk.join();
  EXPECT_EQ(bytes_[0], 't');
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, CollectedSlotsAreFreeAtOnce) {
  transfers_.every({.pends = true});
  for (int i = 0; i < 3 * kSlots; ++i) {
    int ticket = 0;
    ASSERT_TRUE(read(100, &ticket));
    ASSERT_EQ(complete(ticket), 1);
  }

  EXPECT_EQ(log_.lines(), Lines{});
}

// ---- Flush and close

TEST_F(ScriptedTransfers, KeepsWaitingForEveryFileInAFlushAndForgetsTheTickets) {
  const OpenFile other(io_create64(path("other").c_str(), true, 0));
  transfers_.every({.pends = true});
  int first = 0;
  int second = 0;
  ASSERT_TRUE(read(100, &first));
  ASSERT_TRUE(io_write_async64(other.get(), written_, 0, 100, &second));

  io_flush64(file_.get());

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_EQ(bytes_[0], 't');
  EXPECT_EQ(complete(first, false), 1);
  EXPECT_EQ(io_complete64(other.get(), &second, false), 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, FlushSaysWhatFailedOrStoppedShort) {
  transfers_.next({.pends = true, .error = kDiskFull});
  ASSERT_TRUE(write_async());
  transfers_.next({.pends = true, .bytes = 60});
  ASSERT_TRUE(write_async());

  io_flush64(file_.get());

  EXPECT_EQ(log_.lines(), (Lines{"ERROR: IO flush error (1) : 'error 112'",
                                 "ERROR: IO flush error (2) - 60 100"}));
}

TEST_F(ScriptedTransfers, FlushHasNothingToSayAboutWhatCompletedAtOnce) {
  transfers_.next({.bytes = 60});
  ASSERT_TRUE(read());

  io_flush64(file_.get());

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedTransfers, FlushWaitsOnWhenACompletionRoutineRan) {
  transfers_.next({.pends = true});
  ASSERT_TRUE(read());
  transfers_.interrupt_waits(2);

  io_flush64(file_.get());

  EXPECT_EQ(transfers_.pending_count(), 0);
}

TEST_F(ScriptedTransfers, ClosingCancelsWhatRuns) {
  OpenFile other(io_create64(path("other").c_str(), true, 0));
  transfers_.every({.pends = true});
  int cancelled = 0;
  int spared = 0;
  ASSERT_TRUE(io_write_async64(other.get(), written_, 0, 100, &cancelled));
  ASSERT_TRUE(read(100, &spared));

  other.close();

  EXPECT_EQ(transfers_.pending_count(), 1);
  EXPECT_EQ(io_complete64(io_invalid_handle(), &cancelled, true), 1);
  EXPECT_EQ(complete(spared, false), 0);  // Another file's goes on.
  EXPECT_EQ(complete(spared), 1);
  EXPECT_EQ(content("other"), "");
  EXPECT_EQ(log_.lines(), Lines{});
}

// Nothing of ours runs there any more; what the host has started on the handle itself is the host's.
TEST_F(ScriptedTransfers, ClosingCancelsNothingOfAFileWhoseTransfersAreCollected) {
  int at_once = 0;
  int later = 0;
  ASSERT_TRUE(read(100, &at_once));
  transfers_.next({.pends = true});
  ASSERT_TRUE(read(100, &later));
  ASSERT_EQ(complete(at_once), 1);
  ASSERT_EQ(complete(later), 1);

  file_.close();

  EXPECT_EQ(transfers_.cancellations(), 0);
}

TEST_F(ScriptedTransfers, ASlotOfAClosedFileServesTheNext) {
  OpenFile other(io_create64(path("other").c_str(), true, 0));
  transfers_.every({.pends = true});
  for (int i = 0; i < kSlots; ++i) {
    ASSERT_TRUE(io_write_async64(other.get(), written_, 0, 100, nullptr));
  }
  other.close();
  transfers_.time_out_waits(1);

  int ticket = 0;
  ASSERT_TRUE(read(100, &ticket));

  EXPECT_EQ(complete(ticket, false), 0);  // Its event is not the cancelled one's.
  EXPECT_EQ(log_.lines(), Lines{});       // Nobody had to wait for a slot.
}

// ---- Many threads

// The disk is a thread of its own, slower than those who ask it, and the slots are far too few.
TEST_F(ScriptedTransfers, SixteenThreadsShareTheSlotsOfASlowDisk) {
  constexpr int kThreads = 16;
  constexpr int kOutstanding = 200;
  constexpr int kBytes = 64;
  const std::string name = path("shared");
  const OpenFile file(io_create64(name.c_str(), true, 0));
  transfers_.every({.pends = true});
  transfers_.ends_by_release_only();
  test::Gate gate;
  std::atomic<bool> is_over = false;
  std::thread disk([&] {
    while (!is_over || transfers_.pending_count() > 0) {
      if (!transfers_.release_oldest()) {
        std::this_thread::yield();
      }
    }
  });
  std::array<int, kThreads> failures{};
  std::vector<std::thread> threads;

  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      const std::string block(kBytes, static_cast<char>('a' + thread));
      std::vector<OutstandingWrite> writes;
      for (int i = 0; i < kOutstanding; ++i) {
        writes.push_back({block.data(), (i * kThreads + thread) * kBytes, block.size()});
      }
      gate.wait();
      failures[static_cast<std::size_t>(thread)] = test::write_all_at_once(file.get(), writes);
    });
  }
  gate.open();
  for (std::thread& thread : threads) {
    thread.join();
  }
  is_over = true;
  disk.join();

  EXPECT_EQ(failures, (std::array<int, kThreads>{}));
  EXPECT_EQ(log_.lines(), Lines{});
  const std::string bytes = content("shared");
  ASSERT_EQ(bytes.size(), std::size_t{kThreads * kOutstanding * kBytes});
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    ASSERT_EQ(bytes[i], static_cast<char>('a' + i / kBytes % kThreads)) << i;
  }
}

// A flush among starts that fail: each failure is told once, by its start.
TEST_F(ScriptedTransfers, AFlushSaysNothingAboutStartsThatFailMeanwhile) {
  constexpr int kFlushes = 2000;
  transfers_.every({.error = 6});
  std::atomic<int> flushes = 0;
  std::thread flusher([&] {
    for (; flushes < kFlushes; ++flushes) {
      io_flush64(nullptr);
    }
  });

  while (flushes < kFlushes) {
    EXPECT_FALSE(read());
  }
  flusher.join();

  EXPECT_EQ(log_.text().find("flush"), std::string::npos);
}

}  // namespace
}  // namespace orsin
