#include <gtest/gtest.h>

#include "memory/heap_blocks.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "tests/memory/heap_fixture.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::block_of;
using test::formatted;
using test::FourBlocks;
using test::Heap;
using test::Lines;
using test::LogCapture;
using test::make_heap;

TEST(HeapDump, ListsEveryKindOfBlock) {
  const LogCapture log(3);
  const Heap heap = make_heap(80 + 10240, 16, MHEAP_DISCARD);
  void* owners[3] = {};
  for (void*& owner : owners) {
    mheap_alloc_lock(heap.get(), 2048 - 80, &owner);
  }
  mheap_lock(heap.get(), &owners[0]);
  mheap_unlock(heap.get(), &owners[1]);
  mheap_lock_ex(heap.get(), owners[1]);
  mheap_unlock(heap.get(), &owners[2]);

  mheap_dump(heap.get(), "As it stands");

  EXPECT_EQ(log.lines(),
            (Lines{"DEBUG: HEAP 'Tested' - As it stands:", "     :   Locked( 2):        2 ( 1)",
                   "     :   LockedEx( 1):        2 ( 1)", "     :   Used       :        2 ( 1)",
                   "     :   Free      :        4 ( 0)", "     :   Total :       10 of 10"}));
}

TEST(HeapDump, OfAnEmptyHeapIsATotal) {
  const LogCapture log(3);
  const Heap heap = make_heap(2048, 2048);

  mheap_dump(heap.get(), "Empty");

  EXPECT_EQ(log.lines(),
            (Lines{"DEBUG: HEAP 'Tested' - Empty:", "     :   Total :        0 of 2"}));
}

TEST(HeapDump, IsSilentWithoutDebugOutput) {
  const LogCapture log(2);
  const Heap heap = make_heap(4096);

  mheap_dump(heap.get(), "Unseen");

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(HeapTrace, ListsBlocksWithAddressesAndAMark) {
  const LogCapture log(3);
  const Heap heap = make_heap(80 + 10240, 16, MHEAP_DISCARD);
  void* owners[3] = {};
  for (void*& owner : owners) {
    mheap_alloc_lock(heap.get(), 2048 - 80, &owner);
  }
  mheap_unlock(heap.get(), &owners[1]);
  mheap_lock_ex(heap.get(), owners[1]);
  mheap_unlock(heap.get(), &owners[2]);
  const auto address = [&](int block) { return static_cast<void*>(heap->base + block * 2048); };
  const auto owner = [&](int block) { return static_cast<void*>(&owners[block]); };

  mheap_trace(heap.get(), block_of(heap, owners[1]));

  EXPECT_EQ(
      log.lines(),
      (Lines{formatted("DEBUG: MHeap TRACE: 10 Kb (0x%p - 0x%p)", static_cast<void*>(heap->base),
                       static_cast<void*>(heap->end_block)),
             formatted("     :        BLK   0: %p ->  1      2048 0x%p Locked 1", address(0),
                       owner(0)),
             formatted("     :        BLK   0: %p ->  1      2048 0x%p Used", address(0), owner(0)),
             formatted("     :      *  BLK   1: %p ->  1      2048 0x%p LockedEx 1", address(1),
                       owner(1)),
             formatted("     :        BLK   2: %p ->  1      2048 0x%p Used", address(2), owner(2)),
             formatted("     :        BLK   3: %p ->  0      4096 0x%p Free", address(3),
                       static_cast<void*>(nullptr)),
             "     :     STATUS: 4 Kb Locked, 4 Kb Used, 4 Kb Free"}));
}

TEST(HeapTrace, KeepsCountingALockedBlockTwice) {
  const LogCapture log(3);
  const Heap heap = make_heap(80 + 2048, 16, MHEAP_DISCARD);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 2048 - 80, &owner);

  mheap_trace(heap.get(), nullptr);

  EXPECT_EQ(log.lines().back(), "     :     STATUS: 2 Kb Locked, 2 Kb Used, 0 Kb Free");
}

// A block of size 0 is damage: nobody knows where the next one begins.
TEST(HeapDump, EndsBeforeADamagedBlock) {
  const LogCapture log(3);
  FourBlocks four;
  next_block(four.heap->first_block)->size = 0;

  mheap_dump(four.heap.get(), "Damaged");

  EXPECT_EQ(log.lines(),
            (Lines{"DEBUG: HEAP 'Tested' - Damaged:", "     :   Used       :        0 ( 1)",
                   "     :   Total :        0 of 0"}));
}

TEST(HeapTrace, EndsBeforeADamagedBlock) {
  const LogCapture log(3);
  FourBlocks four;
  next_block(four.heap->first_block)->size = 0;

  mheap_trace(four.heap.get(), nullptr);

  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines.back(), "     :     STATUS: 0 Kb Locked, 0 Kb Used, 0 Kb Free");
}

// The dump ends when its first line is filtered; this goes on below whatever line came before.
TEST(HeapTrace, KeepsListingBlocksThoughItsFirstLineIsFiltered) {
  const LogCapture log(2);
  const Heap heap = make_heap(80 + 2048, 16, MHEAP_DISCARD);
  msginfo("Before");

  mheap_trace(heap.get(), nullptr);

  EXPECT_EQ(log.lines().front(), "INFO : Before");
  EXPECT_EQ(log.lines().back(), "     :     STATUS: 0 Kb Locked, 0 Kb Used, 2 Kb Free");
}

TEST(HeapTrace, OfAHeapWithoutBlocksIsNothing) {
  const LogCapture log(3);
  _mheap heap = {};
  heap.mutex = mp_new_mutex(0, 0);

  mheap_trace(&heap, nullptr);

  mp_delete_mutex(heap.mutex);
  EXPECT_EQ(log.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
