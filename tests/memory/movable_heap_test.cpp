#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "memory/heap_blocks.h"
#include "memory/heap_record.h"
#include "orsincore/memory.h"
#include "tests/memory/heap_fixture.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::block_of;
using test::discarded;
using test::formatted;
using test::FourBlocks;
using test::Heap;
using test::Lines;
using test::LogCapture;
using test::make_heap;
using test::note_discard;

// --- Allocation ---

TEST(HeapAllocation, OfOneByteTakes96) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 1, &owner), 1);

  EXPECT_EQ(owner, heap->base + 80);
  EXPECT_EQ(heap->first_block->size, 96u);
  EXPECT_EQ(heap->first_block->lock_count, 1u);
}

TEST(HeapAllocation, OfNoBytesIsAnError) {
  const LogCapture log;
  const Heap heap = make_heap(4096);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 0, &owner), -1);

  EXPECT_EQ(log.lines(), Lines{"ERROR: MHeap: Illegal size (0) requested.."});
}

TEST(HeapAllocation, InAHeapWithoutBlocksFailsInSilence) {
  const LogCapture log(4);
  _mheap heap = {};
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(&heap, 1, &owner), -1);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(HeapAllocation, TakesABlockWholeThatIsLargerByUpToAHeader) {
  const Heap heap = make_heap(80 + 96 + 80);  // One block of 176.
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 1, &owner), 1);

  EXPECT_EQ(heap->first_block->size, 176u);
}

TEST(HeapAllocation, CutsABlockThatIsLargerByMoreThanAHeader) {
  const Heap heap = make_heap(80 + 96 + 96);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 1, &owner), 1);

  EXPECT_EQ(heap->first_block->size, 96u);
  EXPECT_EQ(next_block(heap->first_block)->size, 96u);
  EXPECT_EQ(next_block(heap->first_block)->state, kBlockFree);
}

TEST(HeapAllocation, TakesTheFirstBlockThatFits) {
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[1]);
  mheap_free(four.heap.get(), &four.owners[3]);
  void* owner = nullptr;

  mheap_alloc_lock(four.heap.get(), 1, &owner);

  EXPECT_EQ(owner, four.heap->base + 96 + 80);
}

TEST(HeapAllocation, JoinsFreeBlocksOnItsWay) {
  FourBlocks four;
  // In this order each release finds a used block behind it, so nothing is joined yet.
  mheap_free(four.heap.get(), &four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[1]);
  EXPECT_EQ(four.heap->first_block->size, 96u);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 97, &owner), 1);

  EXPECT_EQ(owner, four.heap->base + 80);
  EXPECT_EQ(four.heap->first_block->size, 192u);
}

TEST(HeapAllocation, DiscardsTheLeastRecentlyUsedBlock) {
  FourBlocks four;
  mheap_keep(four.heap.get(), &four.owners[0]);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 1, &owner), 1);

  EXPECT_NE(four.owners[0], nullptr);
  EXPECT_EQ(four.owners[1], nullptr);
  EXPECT_EQ(owner, four.heap->base + 96 + 80);
}

TEST(HeapAllocation, CallsTheDiscardedBlocksCallbackOnce) {
  FourBlocks four;
  void* data = four.owners[0];
  mheap_set_discard_callback(four.heap.get(), data, note_discard);
  discarded.clear();
  void* owner = nullptr;

  mheap_alloc_lock(four.heap.get(), 1, &owner);
  mheap_unlock(four.heap.get(), &owner);
  mheap_free(four.heap.get(), &owner);

  EXPECT_EQ(discarded, std::vector<void*>{data});
}

TEST(HeapAllocation, DiscardsAsManyAsItNeeds) {
  FourBlocks four;
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 2 * 96, &owner), 1);

  EXPECT_EQ(four.owners[0], nullptr);
  EXPECT_EQ(four.owners[1], nullptr);
  EXPECT_EQ(four.owners[2], nullptr);
  EXPECT_NE(four.owners[3], nullptr);
}

TEST(HeapAllocation, DiscardsEveryBlockForOneThatTakesThemAll) {
  FourBlocks four;
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 4 * 96 - 80, &owner), 1);

  for (void* discarded_owner : four.owners) {
    EXPECT_EQ(discarded_owner, nullptr);
  }
  EXPECT_EQ(owner, four.heap->base + 80);
}

TEST(HeapAllocation, MovesBlocksTogetherAndTellsTheirOwners) {
  FourBlocks four;
  std::memset(four.owners[1], 0x51, 16);
  mheap_free(four.heap.get(), &four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[2]);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 20, &owner), 1);

  EXPECT_EQ(four.owners[1], four.heap->base + 80);
  EXPECT_EQ(static_cast<unsigned char*>(four.owners[1])[15], 0x51);
  EXPECT_EQ(block_of(four.heap, four.owners[1])->data, four.owners[1]);
}

TEST(HeapAllocation, MovesOnlyWhereMoreThanEnoughWouldComeTogether) {
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[2]);
  void* owner = nullptr;

  // Exactly the two gaps: the least recently used block goes instead.
  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 192 - 80, &owner), 1);

  EXPECT_EQ(four.owners[1], nullptr);
}

// What stands behind the byte that makes it enough does not count; of equal runs it is the first.
TEST(HeapAllocation, MovesBlocksWhereTheLeastBytesStandInTheWay) {
  constexpr std::size_t kFirst = 1;
  constexpr std::size_t kBehind = 3;
  constexpr std::size_t kLocked = 5;
  constexpr std::size_t kRival = 7;
  struct Case {
    std::uint64_t first_bytes;
    std::uint64_t rival_bytes;
    bool is_first_moved;
  };
  constexpr Case kCases[] = {{16, 16, true}, {16, 32, true}, {48, 32, false}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message() << c.first_bytes << " and " << c.rival_bytes);
    const Heap heap = make_heap(80 + 9 * 80 + 6 * 16 + c.first_bytes + c.rival_bytes + 96);
    void* owners[9] = {};
    const std::uint64_t bytes[9] = {16, c.first_bytes, 16, 16, 16, 16, 16, c.rival_bytes, 96};
    for (std::size_t i = 0; i < 9; ++i) {
      ASSERT_EQ(mheap_alloc_lock(heap.get(), bytes[i], &owners[i]), 1);
    }
    for (std::size_t i = 0; i < 9; ++i) {
      if (i != kLocked) {
        mheap_unlock(heap.get(), &owners[i]);
      }
      if (i % 2 == 0) {
        ASSERT_EQ(mheap_free(heap.get(), &owners[i]), 1);
      }
    }
    const std::vector<void*> before(std::begin(owners), std::end(owners));
    void* wanted = nullptr;

    EXPECT_EQ(mheap_alloc_lock(heap.get(), 2 * 96 - 80, &wanted), 1);

    EXPECT_EQ(owners[kFirst] != before[kFirst], c.is_first_moved);
    EXPECT_EQ(owners[kRival] != before[kRival], !c.is_first_moved);
    EXPECT_EQ(owners[kBehind], before[kBehind]);
  }
}

TEST(HeapAllocation, MovesNothingInAHeapOfModeZeroWhileDiscardingHelps) {
  const Heap heap = make_heap(80 + 4 * 96, 16, MHEAP_DISCARD);
  void* owners[4] = {};
  for (void*& owner : owners) {
    mheap_alloc_lock(heap.get(), 1, &owner);
    mheap_unlock(heap.get(), &owner);
  }
  mheap_free(heap.get(), &owners[0]);
  mheap_free(heap.get(), &owners[2]);
  void* wanted = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 20, &wanted), 1);

  EXPECT_EQ(owners[1], nullptr);
  EXPECT_EQ(wanted, heap->base + 96 + 80);
}

TEST(HeapAllocation, ShowsWhatIsLockedWhenNothingCanGo) {
  const LogCapture log(3);
  const Heap heap = make_heap(80 + 2048, 16, MHEAP_DISCARD);
  void* locked = nullptr;
  void* wanted = nullptr;
  mheap_alloc_lock(heap.get(), 2048 - 80, &locked);

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 1000, &wanted), -1);

  const Lines lines = log.lines();
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[0], "DEBUG: HEAP 'Tested' - TOTALLY LOCKED !!:");
  EXPECT_EQ(lines[1], "     :   Locked( 1):        2 ( 1)");
  EXPECT_EQ(lines[2], "     :   Total :        2 of 2");
}

TEST(HeapAllocation, ShowsNothingOfWhatNoHeapOfItsSizeCouldHold) {
  const Heap heap = make_heap(80 + 2048, 16, MHEAP_DISCARD);
  void* locked = nullptr;
  void* wanted = nullptr;
  mheap_alloc_lock(heap.get(), 1, &locked);
  const struct {
    std::uint64_t size;
    bool is_shown;
  } cases[] = {{2048 - 80, true}, {2048 - 80 + 1, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    const LogCapture log(3);

    EXPECT_EQ(mheap_alloc_lock(heap.get(), c.size, &wanted), -1);

    EXPECT_EQ(log.lines()[0] == "DEBUG: HEAP 'Tested' - TOTALLY LOCKED !!:", c.is_shown);
  }
}

TEST(HeapAllocation, GivesUpAfterTenWaits) {
  const LogCapture log;
  const Heap heap = make_heap(1024, 16, MHEAP_DISCARD);
  void* wanted = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), 5000, &wanted), -1);

  Lines expected;
  for (int wait = 0; wait < 10; ++wait) {
    expected.push_back(formatted("WARN : Waiting for free space in Tested heap: 5088 (%d)", wait));
    expected.push_back("WARN : Timeout while waiting for free space in Tested heap");
  }
  EXPECT_EQ(log.lines(), expected);
}

TEST(HeapAllocation, SurvivesASizeThatWrapsAround) {
  const LogCapture log;
  const Heap heap = make_heap(1024, 16, MHEAP_DISCARD);
  void* wanted = nullptr;

  EXPECT_EQ(mheap_alloc_lock(heap.get(), ~std::uint64_t{0} - 90, &wanted), -1);

  EXPECT_EQ(wanted, nullptr);
}

// --- Locks ---

TEST(HeapLocks, CountUpAndDown) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);

  EXPECT_EQ(mheap_lock(heap.get(), &owner), 2);
  EXPECT_EQ(mheap_keep(heap.get(), &owner), 2);
  EXPECT_EQ(mheap_unlock(heap.get(), &owner), 1);
  EXPECT_EQ(mheap_unlock(heap.get(), &owner), 0);
}

TEST(HeapLocks, StampTheirBlockWithTheHeapsClock) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  EXPECT_EQ(block_of(heap, owner)->last_use, 1u);  // Allocated at 0, locked at 1.

  mheap_lock(heap.get(), &owner);
  EXPECT_EQ(block_of(heap, owner)->last_use, 2u);
  mheap_keep(heap.get(), &owner);
  EXPECT_EQ(block_of(heap, owner)->last_use, 3u);
  mheap_unlock(heap.get(), &owner);
  EXPECT_EQ(block_of(heap, owner)->last_use, 4u);
  EXPECT_EQ(heap->clock, 5u);
}

TEST(HeapLocks, UnlockingOnceTooOftenIsNoted) {
  const LogCapture log(3);
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  mheap_unlock(heap.get(), &owner);

  EXPECT_EQ(mheap_unlock(heap.get(), &owner), 0);

  EXPECT_EQ(log.lines(), Lines{"DEBUG: MHeap: Unlocking a non locked block"});
  EXPECT_EQ(heap->clock, 3u);
}

TEST(HeapLocks, OfAClearedHandleFailInSilence) {
  const LogCapture log(4);
  const Heap heap = make_heap(4096);
  void* owner = nullptr;

  EXPECT_EQ(mheap_lock(heap.get(), &owner), -1);
  EXPECT_EQ(mheap_keep(heap.get(), &owner), -1);
  EXPECT_EQ(mheap_free(heap.get(), &owner), -1);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(HeapLocks, OfAForeignAddressAreNoted) {
  const Heap heap = make_heap(4096);
  for (void* address : {static_cast<void*>(&discarded), static_cast<void*>(heap->end_block)}) {
    const LogCapture log(3);
    void* owner = address;

    EXPECT_EQ(mheap_lock(heap.get(), &owner), -1);
    EXPECT_EQ(mheap_unlock(heap.get(), &owner), -1);
    EXPECT_EQ(mheap_free(heap.get(), &owner), -1);
    EXPECT_EQ(mheap_keep(heap.get(), &owner), -1);

    EXPECT_EQ(log.lines(), (Lines{formatted("DEBUG: Illegal mheap pointer: %p", address),
                                  formatted("DEBUG: Illegal MHeap pointer: %p", address),
                                  formatted("DEBUG: MHeap: Illegal pointer: %p", address),
                                  formatted("DEBUG: Illegal mheap pointer: %p", address)}));
  }
}

TEST(HeapLocks, NeverReadInFrontOfTheRegion) {
  const Heap heap = make_heap(4096);
  void* owner = heap->base + 16;

  EXPECT_EQ(mheap_lock(heap.get(), &owner), -1);
  EXPECT_EQ(mheap_free(heap.get(), &owner), -1);
  EXPECT_FALSE(mheap_is_valid(heap.get(), &owner));
  EXPECT_EQ(mheap_unlock_ex(heap.get(), owner), 0);
}

// Base is raised to a block's data here: no data ever lies at the true base.
TEST(HeapLocks, AcceptAnAddressEqualToBaseWhereOthersWantOneAboveIt) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  std::uint8_t* base = heap->base;
  heap->base = static_cast<std::uint8_t*>(owner);

  EXPECT_EQ(mheap_lock(heap.get(), &owner), 2);
  EXPECT_EQ(mheap_keep(heap.get(), &owner), 2);
  EXPECT_EQ(mheap_unlock(heap.get(), &owner), 1);
  EXPECT_EQ(mheap_unlock(heap.get(), &owner), 0);
  EXPECT_FALSE(mheap_is_valid(heap.get(), &owner));
  EXPECT_EQ(mheap_set_discard_callback(heap.get(), owner, nullptr), 0);
  EXPECT_EQ(mheap_lock_ex(heap.get(), owner), nullptr);
  EXPECT_EQ(mheap_unlock_ex(heap.get(), owner), 0);
  EXPECT_EQ(mheap_free(heap.get(), &owner), 1);

  heap->base = base;
}

// --- Freeing ---

TEST(HeapFree, RefusesALockedBlock) {
  const LogCapture log(3);
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  void* data = owner;

  EXPECT_EQ(mheap_free(heap.get(), &owner), -1);
  mheap_unlock(heap.get(), &owner);
  EXPECT_EQ(mheap_free(heap.get(), &owner), 1);

  EXPECT_EQ(owner, nullptr);
  EXPECT_EQ(log.lines(), Lines{formatted("DEBUG: MHeap: Attempt to free locked block: %p", data)});
}

TEST(HeapFree, RefusesABlockOfAnotherHandle) {
  const LogCapture log(3);
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  void* thief = owner;

  EXPECT_EQ(mheap_free(heap.get(), &thief), -1);

  EXPECT_EQ(log.lines(), Lines{formatted("DEBUG: MHeap: Illegal pointer owner (%p,%p): %p",
                                         static_cast<void*>(heap->base), static_cast<void*>(&owner),
                                         static_cast<void*>(&thief))});
}

TEST(HeapFree, RunsTheDiscardCallback) {
  FourBlocks four;
  void* data = four.owners[2];
  EXPECT_EQ(mheap_set_discard_callback(four.heap.get(), data, note_discard), 1);
  discarded.clear();

  mheap_free(four.heap.get(), &four.owners[2]);

  EXPECT_EQ(discarded, std::vector<void*>{data});
}

TEST(HeapFree, JoinsTheFreeBlocksBehindItOnly) {
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[2]);

  mheap_free(four.heap.get(), &four.owners[1]);

  EXPECT_EQ(four.heap->first_block->size, 96u);
  EXPECT_EQ(next_block(four.heap->first_block)->size, 192u);
}

TEST(HeapFree, OfAnExLockedBlockIsCompletedByTheNextExUnlock) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  mheap_unlock(heap.get(), &owner);
  void* data = mheap_lock_ex(heap.get(), owner);
  mheap_mblk* block = block_of(heap, data);

  EXPECT_EQ(mheap_free(heap.get(), &owner), 1);
  EXPECT_EQ(owner, nullptr);
  EXPECT_EQ(block->state, kBlockUsed);
  EXPECT_EQ(block->owner, nullptr);
  EXPECT_EQ(block->flags, 1u);

  EXPECT_EQ(mheap_unlock_ex(heap.get(), data), 1);
  EXPECT_EQ(block->state, kBlockFree);
  EXPECT_EQ(block->flags, 0u);
}

TEST(HeapFree, KeepsCompletingAPendingFreeWhateverOtherExLocksAreLeft) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  mheap_unlock(heap.get(), &owner);
  void* data = mheap_lock_ex(heap.get(), owner);
  mheap_lock_ex(heap.get(), data);
  mheap_free(heap.get(), &owner);

  EXPECT_EQ(mheap_unlock_ex(heap.get(), data), 1);

  EXPECT_EQ(block_of(heap, data)->state, kBlockFree);
  EXPECT_EQ(mheap_unlock_ex(heap.get(), data), 0);
}

// A run that another joins is forgotten before the longer one takes its place: what the index touches
// follows the number of runs at a time, which is one or two here.
TEST(HeapFree, LeavesNothingOfAJoinedRunInTheIndex) {
  constexpr std::size_t kBlocks = 400;
  const Heap heap = make_heap(80 + kBlocks * 96);
  std::vector<void*> owners(kBlocks);
  for (void*& owner : owners) {
    ASSERT_EQ(mheap_alloc_lock(heap.get(), 1, &owner), 1);
    mheap_unlock(heap.get(), &owner);
  }
  const FreeRuns& runs = record_of(heap.get()).runs;
  const std::uint32_t touched = runs.leaves_touched();

  for (std::size_t pair = 0; pair < kBlocks; pair += 2) {
    ASSERT_EQ(mheap_free(heap.get(), &owners[pair]), 1);
    ASSERT_EQ(mheap_free(heap.get(), &owners[pair + 1]), 1);
    ASSERT_EQ(mheap_alloc_lock(heap.get(), 2 * 96 - 80, &owners[pair]), 1);
  }

  EXPECT_EQ(runs.first_fit(1), FreeRuns::kNone);
  EXPECT_LE(runs.leaves_touched(), std::max(touched, 2u));
}

// --- Ex locks ---

TEST(HeapExLock, FindsTheBlockFromAnyAddressInIt) {
  const Heap heap = make_heap(100000);
  void* small = nullptr;
  void* large = nullptr;
  mheap_alloc_lock(heap.get(), 64, &small);
  mheap_alloc_lock(heap.get(), 50000, &large);

  EXPECT_EQ(mheap_lock_ex(heap.get(), small), small);
  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(small) + 63), small);
  EXPECT_EQ(mheap_lock_ex(heap.get(), large), large);
  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(large) + 127), large);
  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(large) + 49999), large);

  EXPECT_EQ(block_of(heap, small)->lockex_count, 2u);
  EXPECT_EQ(block_of(heap, large)->lockex_count, 3u);
}

TEST(HeapExLock, TakesAHeaderForPartOfTheBlockBehindIt) {
  const Heap heap = make_heap(100000);
  void* owners[2] = {};
  for (void*& owner : owners) {
    mheap_alloc_lock(heap.get(), 20000, &owner);
  }
  auto* const second_header = static_cast<std::uint8_t*>(owners[1]) - 80;

  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->base + 1), owners[0]);
  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->base + 20), owners[0]);
  EXPECT_EQ(mheap_lock_ex(heap.get(), second_header - 1), owners[0]);
  EXPECT_EQ(mheap_lock_ex(heap.get(), second_header), owners[1]);
}

TEST(HeapExLock, FindsTheBlockThatLiesWhereAMovedOneHasBeen) {
  const Heap heap = make_heap(16384, 16, MHEAP_COMPACT);
  void* front = nullptr;
  void* moved = nullptr;
  void* large = nullptr;
  mheap_alloc_lock(heap.get(), 7000, &front);
  mheap_alloc_lock(heap.get(), 64, &moved);
  const void* const moved_from = moved;
  mheap_unlock(heap.get(), &moved);
  mheap_unlock(heap.get(), &front);
  ASSERT_EQ(mheap_free(heap.get(), &front), 1);

  ASSERT_EQ(mheap_alloc_lock(heap.get(), 15000, &large), 1);

  ASSERT_EQ(moved, heap->base + 80);
  EXPECT_EQ(mheap_lock_ex(heap.get(), moved_from), large);
}

TEST(HeapExLock, RejectsAddressesOutside) {
  const Heap heap = make_heap(4096);

  EXPECT_EQ(mheap_lock_ex(heap.get(), nullptr), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->base), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->end_block), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), &discarded), nullptr);
  EXPECT_EQ(mheap_unlock_ex(nullptr, heap->base), 0);
  EXPECT_EQ(mheap_unlock_ex(heap.get(), &discarded), 0);
}

TEST(HeapExLock, RejectsTheEndCloseBehindAUsedBlock) {
  FourBlocks four;

  EXPECT_EQ(mheap_lock_ex(four.heap.get(), four.heap->end_block), nullptr);
  EXPECT_EQ(mheap_lock_ex(four.heap.get(), four.heap->base + 4 * 96 - 1), four.owners[3]);
}

TEST(HeapExLock, KeepsLockingFreeBlocksToo) {
  const Heap heap = make_heap(4096);

  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->base + 1000), heap->base + 80);

  EXPECT_EQ(heap->first_block->lockex_count, 1u);
  EXPECT_EQ(heap->first_block->state, kBlockFree);
}

TEST(HeapExLock, PinsTheBlock) {
  FourBlocks four;
  mheap_lock_ex(four.heap.get(), four.owners[0]);
  void* owner = nullptr;

  mheap_alloc_lock(four.heap.get(), 1, &owner);

  EXPECT_NE(four.owners[0], nullptr);
  EXPECT_EQ(four.owners[1], nullptr);
}

// --- Questions ---

TEST(HeapValidity, IsAboutThisVeryHandle) {
  const Heap heap = make_heap(4096);
  void* owner = nullptr;
  mheap_alloc_lock(heap.get(), 1, &owner);
  void* copy = owner;
  void* null = nullptr;

  EXPECT_TRUE(mheap_is_valid(heap.get(), &owner));
  EXPECT_FALSE(mheap_is_valid(heap.get(), &copy));
  EXPECT_FALSE(mheap_is_valid(heap.get(), &null));
  EXPECT_FALSE(mheap_is_valid(nullptr, &owner));
}

TEST(HeapSpace, CountsWhatIsFreeAndWhatCouldBe) {
  FourBlocks four;
  mheap_lock(four.heap.get(), &four.owners[0]);
  mheap_lock_ex(four.heap.get(), four.owners[1]);
  mheap_free(four.heap.get(), &four.owners[2]);
  std::uint64_t free = 0;
  std::uint64_t freeable = 0;

  EXPECT_EQ(mheap_queryspace(four.heap.get(), free, freeable), 464u);

  EXPECT_EQ(free, 96u);
  EXPECT_EQ(freeable, 192u);
  EXPECT_EQ(mheap_totalsize(four.heap.get()), 464u);
}

TEST(HeapPrefetch, ReadsAByteAPageExceptTheLast) {
  const auto page = static_cast<std::uint64_t>(mem_pagesize());
  const Heap heap = make_heap(3 * page, static_cast<int>(page));
  heap->base[page] = 7;      // Free memory: nobody minds.
  heap->base[2 * page] = 9;  // The last page is not read.

  const std::uint64_t sum = mheap_prefetch_all(heap.get());

  EXPECT_EQ(sum, heap->base[0] + 7u);
  EXPECT_EQ(mheap_prefetch_all(make_heap(page).get()), 0u);
}

}  // namespace
}  // namespace orsin
