// What the memory layer does when the system refuses, played by the native port.
#include <gtest/gtest.h>

#include <cstdlib>

#include "memory/memory_lifecycle.h"
#include "memory/os_allocation.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "tests/platform/native/counted_primitives.h"
#include "tests/platform/native/pages_native.h"
#include "tests/platform/native/process_heap_native.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;
using test::PagesScript;
using test::pinned_pages;

TEST(OsAllocation, PinsItsPagesWhenAskedTo) {
  const PagesScript machine;

  void* pages = os_alloc(8192, 1);

  EXPECT_EQ(pinned_pages().at(reinterpret_cast<std::uintptr_t>(pages)), 8192u);
  EXPECT_TRUE(os_free(pages));
  EXPECT_TRUE(pinned_pages().empty());
}

TEST(HeapCreation, PinsItsRegionWhenAskedTo) {
  const PagesScript machine;

  _mheap* heap = mheap_initialize("Pinned", 65536, 16, MHEAP_DISCARD, 1);

  EXPECT_EQ(pinned_pages().at(reinterpret_cast<std::uintptr_t>(heap->base)), 65536u);
  mheap_destroy(heap);
  EXPECT_TRUE(pinned_pages().empty());
}

// Where there is no memory, the result would be the same as after a growth.
TEST(HeapResize, ToItsOwnSizeNeedsNoPages) {
  const PagesScript machine;
  _mheap* heap = mheap_initialize("Tested", 65536, 16, MHEAP_DISCARD, 0);
  machine->largest_commit_bytes = 0;

  EXPECT_EQ(mheap_resize(heap, 65536, 0), ~std::uint64_t{0});

  mheap_destroy(heap);
}

TEST(OsAllocation, LeavesNothingBehindWhenPagesCannotBePinned) {
  const PagesScript machine;
  const LogCapture log(3);
  machine->refuses_pin = true;

  EXPECT_EQ(os_alloc(8192, 1), nullptr);
  os_allocation::report_and_forget();

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: OS lock error - error 1453"});
}

TEST(OsAllocation, FreesPagesThatCannotBeUnpinned) {
  const PagesScript machine;
  const LogCapture log(3);
  void* pages = os_alloc(8192, 1);
  machine->refuses_unpin = true;

  EXPECT_TRUE(os_free(pages));

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: OS lock error - error 158"});
  EXPECT_FALSE(os_allocation::is_live(pages));
}

TEST(OsAllocation, ForgetsPagesThatTheSystemDoesNotTakeBack) {
  const PagesScript machine;
  const LogCapture log(3);
  void* pages = os_alloc(8192, 0);
  machine->refuses_release = true;

  EXPECT_TRUE(os_free(pages));

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: OS free error - error 487"});
  EXPECT_FALSE(os_allocation::is_live(pages));
}

TEST(OsAllocation, NamesTheRequestInKib) {
  const PagesScript machine;
  const LogCapture log;
  machine->largest_commit_bytes = 1;

  EXPECT_EQ(os_alloc(1500, 0), nullptr);

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: OS allocation failed, Requested: 1.465 - error 8"});
}

TEST(PageSize, IsAskedOfTheSystemOnce) {
  const PagesScript machine;
  const int before = mem_pagesize();
  machine->page_size = 65536;

  EXPECT_EQ(mem_pagesize(), before);
}

TEST(PageLock, ReportsWhatTheSystemRefuses) {
  const PagesScript machine;
  const LogCapture log;
  machine->refuses_pin = true;
  machine->refuses_unpin = true;
  char page[1] = {};

  EXPECT_EQ(mem_lock(page, 1), -1);
  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: OS lock error - error 1453"});

  // Another line between them: the repeats of a line are folded.
  msgwarn("Unlocking");
  EXPECT_EQ(mem_unlock(page, 1), -1);
  EXPECT_EQ(log.lines(), (Lines{"WARN : MEMORY: OS lock error - error 1453", "WARN : Unlocking",
                                "WARN : MEMORY: OS lock error - error 158"}));
}

TEST(MemoryInformation, WalksTheAddressSpaceForTheLargestFreeRegion) {
  constexpr std::uint64_t kMib = 1 << 20;
  const PagesScript machine;
  machine->status = {100 * kMib, 80 * kMib, 900 * kMib, 1000 * kMib};
  machine->regions = {{0, kMib, true},
                      {kMib, 50 * kMib, false},
                      {51 * kMib, 3 * kMib, true},
                      {54 * kMib, 2 * kMib, true}};
  mem_info_str info = {};

  EXPECT_EQ(mem_info(&info), 80 * kMib);

  EXPECT_EQ(info.total_physical, 100 * kMib);
  EXPECT_EQ(info.available_physical, 80 * kMib);
  EXPECT_EQ(info.available_virtual, 900 * kMib);
  EXPECT_EQ(info.total_virtual, 1000 * kMib);
  EXPECT_EQ(info.largest_usable, 3 * kMib);
}

TEST(MemoryInformation, StopsWhereTheSystemKnowsNothing) {
  const PagesScript machine;
  machine->regions = {{0x1000, 0x1000, true}, {0x4000, 0x100000, true}};
  mem_info_str info = {};

  mem_info(&info);

  EXPECT_EQ(info.largest_usable, 0x1000u);
}

TEST(ProcessHeap, ReportsDamageInsteadOfCompacting) {
  const LogCapture log;
  test::native_process_heap() = {.is_valid = false, .largest_free = 100};

  EXPECT_EQ(a_heapcompact(), 0u);

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: System heap corrupted..."});
  test::native_process_heap() = {};
}

TEST(ProcessHeap, ReturnsItsLargestFreeBlock) {
  test::native_process_heap() = {.largest_free = 12345};

  EXPECT_EQ(a_heapcompact(), 12345u);

  test::native_process_heap() = {};
}

TEST(ProcessHeap, ReportsWhyItCouldNotBeCompacted) {
  const LogCapture log;
  test::native_process_heap() = {.compact_error = 12};

  EXPECT_EQ(a_heapcompact(), 0u);

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: System heap: error 12"});
  test::native_process_heap() = {};
}

TEST(ProcessHeap, KeepsTheLineOfAHeapWithoutAFreeBlock) {
  const LogCapture log;
  test::native_process_heap() = {};

  EXPECT_EQ(a_heapcompact(), 0u);

  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: System heap: No Error"});
}

TEST(ProcessHeap, TakesAFailureWithoutAReasonForSuccess) {
  const LogCapture log;
  test::native_process_heap() = {.compact_error = 12029};  // The system has no text for it.

  EXPECT_EQ(a_heapcompact(), 1u);

  EXPECT_EQ(log.lines(), Lines{});
  test::native_process_heap() = {};
}

// From start-up on there is a mutex to take.
TEST(MemoryLifecycle, GuardsTheTableOfAllocationsWithAMutex) {
  mem_info_str info = {};
  start_memory(info);
  const int before = test::primitive_calls().locks;

  void* pages = os_alloc(1, 0);

  EXPECT_EQ(test::primitive_calls().locks, before + 1);
  os_free(pages);
  stop_memory();
}

// In a process of its own: that mutex stays, whoever has made it first.
TEST(MemoryLifecycleDeathTest, MakesTheMutexOfTheTable) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        mem_info_str info = {};
        start_memory(info);
        const int before = test::primitive_calls().locks;
        static_cast<void>(os_alloc(1, 0));
        std::_Exit(test::primitive_calls().locks == before + 1 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(MemoryLifecycle, GivesBackEverySmallBlock) {
  const long before = test::live_blocks();
  mem_info_str info = {};
  start_memory(info);
  ASSERT_NE(sb_alloc(32), nullptr);

  stop_memory();

  EXPECT_EQ(test::live_blocks(), before);
}

TEST(MemoryLifecycle, ReportsAtClosedownWhichPagesAreLeft) {
  const LogCapture log(3);
  mem_info_str info = {};
  start_memory(info);
  void* const pages = os_alloc(4096, 0);

  stop_memory();

  EXPECT_EQ(log.lines(), Lines{"DEBUG: MEMORY: Closedown: 1 OS allocations left: 4096"});
  EXPECT_FALSE(os_allocation::is_live(pages));
  EXPECT_TRUE(port::release_pages(pages));
}

TEST(MemoryLifecycle, ReportsADamagedHeapAtClosedown) {
  const LogCapture log(3);
  mem_info_str info = {};
  start_memory(info);
  test::native_process_heap().is_valid = false;

  stop_memory();

  EXPECT_EQ(log.lines(), Lines{"DEBUG: MEMORY: Closedown: System heap corrupted..."});
  test::native_process_heap() = {};
}

TEST(MemoryLifecycle, HasTheHeapReportWhatItCannotGive) {
  struct Request {
    std::size_t bytes;
    const char* line;
  };
  constexpr Request kRequests[] = {
      {1, "     : * Out of (system) memory, requested 1 Bytes"},
      {1024, "     : * Out of (system) memory, requested 1024 Bytes"},
      {1025, "     : * Out of (system) memory, requested 1 Kb"},
      {std::size_t{5} << 30, "     : * Out of (system) memory, requested 5242880 Kb"}};

  for (const Request& request : kRequests) {
    SCOPED_TRACE(request.bytes);
    const LogCapture log;
    mem_info_str info = {};
    start_memory(info);

    ASSERT_NE(test::native_process_heap().report, nullptr);
    test::native_process_heap().report(request.bytes);
    stop_memory();

    EXPECT_EQ(log.lines(),
              (Lines{"ERROR: ************************************", request.line, "     : *"}));
    EXPECT_EQ(test::native_process_heap().report, nullptr);
  }
}

}  // namespace
}  // namespace orsin
