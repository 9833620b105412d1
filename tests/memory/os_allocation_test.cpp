#include "memory/os_allocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "memory/pages_port.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/latch.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

constexpr std::uint64_t kImpossibleBytes = std::uint64_t{1} << 62;

std::string bad_reference_line(const void* address) {
  char line[80];
  std::snprintf(line, sizeof line, "DEBUG: MEMORY: OS bad memory reference passed: %x",
                static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address)));
  return line;
}

TEST(OsAllocation, GivesZeroedPagesThatCanBeWritten) {
  const auto page = static_cast<std::size_t>(mem_pagesize());
  auto* pages = static_cast<unsigned char*>(os_alloc(3 * page, 0));
  ASSERT_NE(pages, nullptr);

  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pages) % page, 0u);
  EXPECT_TRUE(std::all_of(pages, pages + 3 * page, [](unsigned char byte) { return byte == 0; }));
  std::fill(pages, pages + 3 * page, static_cast<unsigned char>(0xA5));

  EXPECT_TRUE(os_free(pages));
}

TEST(OsAllocation, ReportsWhatTheSystemRefused) {
  const LogCapture log;

  EXPECT_EQ(os_alloc(kImpossibleBytes, 0), nullptr);

  const std::string reason = os_errormsg();
  EXPECT_EQ(
      log.lines(),
      Lines{"WARN : MEMORY: OS allocation failed, Requested: 4503599627370496.000 - " + reason});
}

TEST(OsAllocation, RefusesNoBytesAtAll) {
  const LogCapture log;

  EXPECT_EQ(os_alloc(0, 0), nullptr);

  const std::string reason = os_errormsg();
  EXPECT_EQ(log.lines(),
            Lines{"WARN : MEMORY: OS allocation failed, Requested: 0.000 - " + reason});
}

TEST(OsAllocation, DoesNotFreeAnAddressThatItNeverGaveOut) {
  const LogCapture log(3);
  int local = 0;

  EXPECT_FALSE(os_free(&local));
  EXPECT_FALSE(os_free(nullptr));

  EXPECT_EQ(log.lines(), (Lines{bad_reference_line(&local), bad_reference_line(nullptr)}));
}

TEST(OsAllocation, FreesAnAddressOnlyOnce) {
  const LogCapture log(3);
  void* pages = os_alloc(1, 0);

  EXPECT_TRUE(os_free(pages));
  EXPECT_FALSE(os_free(pages));

  EXPECT_EQ(log.lines(), Lines{bad_reference_line(pages)});
}

TEST(OsAllocation, DoesNotFreeTheInsideOfAnAllocation) {
  void* pages = os_alloc(2 * static_cast<std::uint64_t>(mem_pagesize()), 0);

  EXPECT_FALSE(os_free(static_cast<char*>(pages) + mem_pagesize()));

  EXPECT_TRUE(os_free(pages));
}

TEST(OsAllocation, KnowsWhatIsLive) {
  void* pages = os_alloc(1, 0);

  EXPECT_TRUE(os_allocation::is_live(pages));
  os_free(pages);

  EXPECT_FALSE(os_allocation::is_live(pages));
}

TEST(OsAllocation, KeepsPagesThatTheTableCannotRemember) {
  const LogCapture log(3);
  void* pages = nullptr;
  {
    const test::AllocationRefusal refusal(300);
    pages = os_alloc(1, 0);
  }
  ASSERT_NE(pages, nullptr);

  EXPECT_FALSE(os_free(pages));
  os_allocation::report_and_forget();

  EXPECT_EQ(log.lines(), (Lines{"ERROR: Vector ensure: Not enough memory..(0 + 1 * 24)",
                                bad_reference_line(pages),
                                "DEBUG: MEMORY: Closedown: 0 OS allocations left: 1"}));
  EXPECT_TRUE(port::release_pages(pages));
}

TEST(OsAllocation, ReportsAtClosedownWhatNobodyGaveBack) {
  const LogCapture log(3);
  os_allocation::start();
  void* const first = os_alloc(4096, 0);
  void* const second = os_alloc(100, 0);

  os_allocation::report_and_forget();

  EXPECT_EQ(log.lines(), Lines{"DEBUG: MEMORY: Closedown: 2 OS allocations left: 4196"});
  EXPECT_TRUE(port::release_pages(first));
  EXPECT_TRUE(port::release_pages(second));
}

TEST(OsAllocation, SaysNothingAtClosedownWhenAllIsBack) {
  const LogCapture log(4);
  os_allocation::start();
  os_free(os_alloc(4096, 0));

  os_allocation::report_and_forget();

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(OsAllocation, ServesManyThreadsAtOnce) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 200;
  os_allocation::start();
  test::Latch gate(kThreads);
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;

  for (int index = 0; index < kThreads; ++index) {
    threads.emplace_back([&] {
      gate.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) {
        auto* pages = static_cast<unsigned char*>(os_alloc(4096, 0));
        pages[0] = 1;
        failures += os_allocation::is_live(pages) && os_free(pages) ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(failures, 0);
}

TEST(PageLock, PinsAndUnpins) {
  void* pages = os_alloc(4096, 0);
  ASSERT_NE(pages, nullptr);

  EXPECT_EQ(mem_lock(pages, 4096), 0);
  EXPECT_EQ(mem_unlock(pages, 4096), 0);

  os_free(pages);
}

}  // namespace
}  // namespace orsin
