#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "memory/heap_blocks.h"
#include "memory/os_allocation.h"
#include "orsincore/memory.h"
#include "tests/memory/heap_fixture.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Heap;
using test::LogCapture;
using test::make_heap;
using test::note_discard;

static_assert(offsetof(_mheap, name) == 0);
static_assert(offsetof(_mheap, total_size) == 32);
static_assert(offsetof(_mheap, alignment) == 40);
static_assert(offsetof(_mheap, header_size) == 48);
static_assert(offsetof(_mheap, mode) == 56);
static_assert(offsetof(_mheap, first_block) == 64);
static_assert(offsetof(_mheap, end_block) == 72);
static_assert(offsetof(_mheap, base) == 80);
static_assert(offsetof(_mheap, mutex) == 88);
static_assert(offsetof(_mheap, cond) == 96);
static_assert(offsetof(_mheap, clock) == 104);
static_assert(sizeof(_mheap) == 112);

static_assert(offsetof(mheap_mblk, state) == 0);
static_assert(offsetof(mheap_mblk, owner) == 8);
static_assert(offsetof(mheap_mblk, data) == 16);
static_assert(offsetof(mheap_mblk, size) == 24);
static_assert(offsetof(mheap_mblk, lock_count) == 32);
static_assert(offsetof(mheap_mblk, lockex_count) == 36);
static_assert(offsetof(mheap_mblk, last_use) == 40);
static_assert(offsetof(mheap_mblk, discard_callback) == 48);
static_assert(offsetof(mheap_mblk, flags) == 56);
static_assert(sizeof(mheap_mblk) == 64);

TEST(HeapLayout, KeepsAWholeUnitInHeadersOfSmallAlignments) {
  EXPECT_EQ(heap_header_size(8), 72u);
  EXPECT_EQ(heap_header_size(16), 80u);
  EXPECT_EQ(heap_header_size(32), 96u);
  EXPECT_EQ(heap_header_size(48), 96u);
  EXPECT_EQ(heap_header_size(64), 64u);
  EXPECT_EQ(heap_header_size(512), 512u);
  EXPECT_EQ(heap_header_size(8192), 8192u);
}

TEST(HeapLayout, ShowsInTheBytesOfTheRegion) {
  const Heap heap = make_heap(1000);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  mheap_lock_ex(heap.get(), owner);
  mheap_set_discard_callback(heap.get(), owner, note_discard);

  std::uint64_t words[8] = {};
  std::memcpy(words, mheap_heapbase(heap.get()), sizeof words);

  EXPECT_EQ(words[0], 1u);
  EXPECT_EQ(words[1], reinterpret_cast<std::uintptr_t>(&owner));
  EXPECT_EQ(words[2], reinterpret_cast<std::uintptr_t>(heap->base) + 80);
  EXPECT_EQ(words[3], 96u);
  EXPECT_EQ(words[4], std::uint64_t{1} << 32 | 1);
  EXPECT_EQ(words[5], 1u);
  EXPECT_EQ(words[6], reinterpret_cast<std::uintptr_t>(note_discard));
  EXPECT_EQ(static_cast<std::uint32_t>(words[7]), 0u);
  mheap_unlock_ex(heap.get(), owner);
}

TEST(HeapLayout, HasAnEmptyHeaderAtItsEnd) {
  const Heap heap = make_heap(1000);
  const mheap_mblk empty = {};

  EXPECT_EQ(heap->total_size, 992u);
  EXPECT_EQ(reinterpret_cast<std::uint8_t*>(heap->end_block), heap->base + 992 - 80);
  EXPECT_EQ(std::memcmp(heap->end_block, &empty, sizeof empty), 0);
  EXPECT_EQ(heap->first_block->size, 992u - 80u);
}

TEST(HeapLayout, KeepsThe32BytesOfALongName) {
  const Heap heap(
      mheap_initialize("A name of more than thirty-two bytes", 4096, 16, MHEAP_DISCARD, 0));
  const LogCapture log(3);

  EXPECT_EQ(std::memcmp(heap->name, "A name of more than thirty-two bytes", 32), 0);
  mheap_dump(heap.get(), "title");

  EXPECT_EQ(log.lines()[0], "DEBUG: HEAP 'A name of more than thirty-two b' - title:");
}

TEST(HeapCreation, FailsWithoutARegion) {
  const LogCapture log;

  EXPECT_EQ(mheap_initialize("Huge", std::uint64_t{1} << 62, 16, MHEAP_DISCARD, 0), nullptr);
}

TEST(HeapCreation, FailsWithoutRoomForItsRecord) {
  const test::AllocationRefusal refusal(sizeof(_mheap));

  EXPECT_EQ(mheap_initialize("Tested", 4096, 16, MHEAP_DISCARD, 0), nullptr);
}

TEST(HeapCreation, FailsWhereTheRegionIsSmallerThanAHeader) {
  EXPECT_EQ(mheap_initialize("Tiny", 64, 16, MHEAP_DISCARD, 0), nullptr);
  EXPECT_EQ(mheap_initialize("None", 100, 0, MHEAP_DISCARD, 0), nullptr);
}

TEST(HeapCreation, TakesAnyAlignmentFromOneOn) {
  for (const int alignment : {1, 2, 3}) {
    SCOPED_TRACE(alignment);
    const std::uint64_t header = heap_header_size(static_cast<std::uint64_t>(alignment));
    const Heap heap = make_heap(header + 96, alignment);

    ASSERT_NE(heap, nullptr);
    EXPECT_EQ(heap->header_size, header);
    EXPECT_EQ(heap->first_block->size, 96u);
  }
}

TEST(HeapCreation, GivesItsRegionBack) {
  Heap heap = make_heap(4096);
  const void* region = heap->base;
  EXPECT_TRUE(os_allocation::is_live(region));

  heap.reset();

  EXPECT_FALSE(os_allocation::is_live(region));
}

TEST(HeapCreation, RefusesANegativeAlignment) {
  EXPECT_EQ(mheap_initialize("Negative", 4096, -16, MHEAP_DISCARD, 0), nullptr);
}

TEST(HeapDestruction, LooksAtNoBlock) {
  Heap heap = make_heap(4096);
  void* locked = nullptr;
  void* unlocked = nullptr;
  mheap_alloc_lock(heap.get(), 1, &locked);
  mheap_alloc_lock(heap.get(), 1, &unlocked);
  mheap_unlock(heap.get(), &unlocked);
  mheap_set_discard_callback(heap.get(), unlocked, note_discard);
  test::discarded.clear();
  const LogCapture log(4);

  heap.reset();

  EXPECT_NE(locked, nullptr);
  EXPECT_NE(unlocked, nullptr);
  EXPECT_TRUE(test::discarded.empty());
  EXPECT_EQ(log.lines(), test::Lines{});
}

TEST(HeapCreation, AllowsAHeapThatIsAllHeader) {
  const Heap heap = make_heap(512, 512);
  std::uint64_t free = 1;
  std::uint64_t freeable = 1;

  EXPECT_EQ(heap->first_block, heap->end_block);
  EXPECT_EQ(mheap_queryspace(heap.get(), free, freeable), 512u);
  EXPECT_EQ(free, 0u);
  EXPECT_EQ(freeable, 0u);
}

// Alignments that are no power of two are somebody's mistake; the sizes stay right to the last.
TEST(HeapBlockSize, IsTheLargestThatIsAligned) {
  constexpr std::uint64_t kMax = ~std::uint64_t{0};
  _mheap heap = {};
  heap.alignment = 3;
  heap.header_size = 66;

  EXPECT_EQ(heap_block_size(heap, kMax - 69), kMax - 3);
}

}  // namespace
}  // namespace orsin
