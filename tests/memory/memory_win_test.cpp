// The memory layer on the system itself: handlers of the run-time library, the process heap.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "base/compiler.h"
#include "base/win/windows.h"
#include "memory/memory_lifecycle.h"
#include "memory/standard_heaps.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "tests/support/log_capture.h"

// As memory/process_heap_win.cpp declares them.
using NewHandler = int(__cdecl*)(std::size_t);
NewHandler __cdecl _set_new_handler(NewHandler handler)
    ORSIN_LINK_NAME("?_set_new_handler@@YAP6AH_K@ZP6AH0@Z@Z");
int __cdecl _set_new_mode(int mode) ORSIN_LINK_NAME("?_set_new_mode@@YAHH@Z");

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

// Volatile: compilers know that nobody can have so much, and drop the call.
// The line shows the low half of the size in KiB: 5 of 2^36 + 5.
volatile std::size_t impossible_bytes = (std::size_t{1} << 60) + (5 << 10);

const Lines kOutOfMemory = {"ERROR: ************************************",
                            "     : * Out of (system) memory, requested 5 Kb", "     : *"};

class OutOfMemory : public testing::Test {
 protected:
  void SetUp() override {
    mem_info_str info = {};
    start_memory(info);
  }
  void TearDown() override { stop_memory(); }
};

TEST_F(OutOfMemory, IsReportedByMallocWhichThenReturnsNull) {
  const LogCapture log;

  EXPECT_EQ(std::malloc(impossible_bytes), nullptr);

  EXPECT_EQ(log.lines(), kOutOfMemory);
}

TEST_F(OutOfMemory, IsReportedByNewWhichThenThrowsOnce) {
  const LogCapture log;

  EXPECT_THROW(static_cast<void>(::operator new(impossible_bytes)), std::bad_alloc);

  EXPECT_EQ(log.lines(), kOutOfMemory);
}

int __cdecl hosts_handler(std::size_t /*requested*/) {
  return 0;
}

TEST(OutOfMemoryHandler, IsTheHostsAgainAtTheEnd) {
  _set_new_handler(hosts_handler);
  mem_info_str info = {};
  start_memory(info);
  start_memory(info);
  stop_memory();

  EXPECT_EQ(_set_new_mode(0), 0);
  EXPECT_EQ(_set_new_handler(nullptr), hosts_handler);
}

TEST(OutOfMemoryHandler, StaysTheHostsThatCameLater) {
  mem_info_str info = {};
  start_memory(info);
  _set_new_handler(hosts_handler);
  stop_memory();

  EXPECT_EQ(_set_new_mode(0), 1);
  EXPECT_EQ(_set_new_handler(nullptr), hosts_handler);
}

TEST(ProcessHeap, IsValidAndAnswersACompaction) {
  const LogCapture log;

  const std::uint64_t largest = a_heapcompact();

  // Wine names no size and no error; Windows names the size.
  if (largest == 0) {
    EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: System heap: No Error"});
  } else {
    EXPECT_EQ(log.lines(), Lines{});
  }
}

TEST(MemoryInformation, KnowsTheAddressSpace) {
  mem_info_str info = {};

  mem_info(&info);

  EXPECT_GT(info.total_virtual, std::uint64_t{1} << 40);
  EXPECT_GT(info.largest_usable, 0u);
  EXPECT_LE(info.largest_usable, info.total_physical);
}

TEST(OsAllocation, LiesHighInTheAddressSpace) {
  void* pages = os_alloc(std::uint64_t{1} << 20, 0);

  EXPECT_GT(reinterpret_cast<std::uintptr_t>(pages), std::uint64_t{1} << 32);

  os_free(pages);
}

TEST(PageLock, RefusesMemoryThatIsNotThere) {
  const LogCapture log;

  EXPECT_EQ(mem_lock(nullptr, 4096), -1);

  const std::string reason = os_errormsg();
  EXPECT_EQ(log.lines(), Lines{"WARN : MEMORY: OS lock error - " + reason});
}

TEST(StandardHeaps, CanBeHadOnThisMachine) {
  standard_heaps::reset();

  const std::uint64_t total = mem_alloc_pools();

  ASSERT_GT(total, 0u);
  EXPECT_EQ(mem_alloc_pools(), total);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME) + mem_heapsize(MEM_HEAP_PROXY) +
                mem_heapsize(MEM_HEAP_AUDIO) + mem_heapsize(MEM_HEAP_IMAGE),
            total);
  void* picture = nullptr;
  ASSERT_NE(mem_alloc_locked_buffer(&picture, 8 << 20, MEM_HEAP_ANY), nullptr);
  std::memset(picture, 1, 8 << 20);
  EXPECT_EQ(mem_free_locked_buffer(&picture), 1);
  standard_heaps::reset();
}

}  // namespace
}  // namespace orsin
