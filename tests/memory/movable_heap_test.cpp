#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "memory/heap_blocks.h"
#include "memory/os_allocation.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"
#include "tests/memory/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

struct DestroyHeap {
  void operator()(_mheap* heap) const { mheap_destroy(heap); }
};
using Heap = std::unique_ptr<_mheap, DestroyHeap>;

Heap make_heap(std::uint64_t size, int alignment = 16, mheap_mode mode = MHEAP_COMPACT) {
  return Heap(mheap_initialize("Tested", size, alignment, mode, 0));
}

// The header in front of an owner's data.
mheap_mblk* block_of(const Heap& heap, void* data) {
  return reinterpret_cast<mheap_mblk*>(static_cast<std::uint8_t*>(data) - heap->header_size);
}

// printf's idea of the values, as the log shows them.
template <typename... Values>
std::string formatted(const char* format, Values... values) {
  char text[256];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

std::vector<void*> discarded;

void note_discard(void* data) {
  discarded.push_back(data);
}

// A heap of four blocks of 96 bytes, all used and unlocked, least recently used first.
struct FourBlocks {
  FourBlocks() : heap(make_heap(80 + 4 * 96)) {
    for (void*& owner : owners) {
      EXPECT_EQ(mheap_alloc_lock(heap.get(), 1, &owner), 1);
      mheap_unlock(heap.get(), &owner);
    }
  }
  Heap heap;
  void* owners[4] = {};
};

// --- Layout ---

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

TEST(HeapCreation, GivesItsRegionBack) {
  Heap heap = make_heap(4096);
  const void* region = heap->base;
  EXPECT_TRUE(os_allocation::is_live(region));

  heap.reset();

  EXPECT_FALSE(os_allocation::is_live(region));
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
TEST(HeapLocks, KeepAcceptingAnAddressEqualToBaseWhereOthersDoNot) {
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
  mheap_set_discard_callback(four.heap.get(), data, note_discard);
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

TEST(HeapExLock, RejectsAddressesOutside) {
  const Heap heap = make_heap(4096);

  EXPECT_EQ(mheap_lock_ex(heap.get(), nullptr), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->base), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), heap->end_block), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), &discarded), nullptr);
  EXPECT_EQ(mheap_unlock_ex(nullptr, heap->base), 0);
  EXPECT_EQ(mheap_unlock_ex(heap.get(), &discarded), 0);
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

// --- The whole heap ---

TEST(HeapClearing, DiscardsWhatIsUnlockedAndJoinsIt) {
  FourBlocks four;
  mheap_lock(four.heap.get(), &four.owners[2]);
  mheap_set_discard_callback(four.heap.get(), four.owners[0], note_discard);
  discarded.clear();

  EXPECT_EQ(mheap_clearall(four.heap.get()), 0);

  EXPECT_EQ(discarded.size(), 1u);
  EXPECT_EQ(four.owners[0], nullptr);
  EXPECT_EQ(four.owners[1], nullptr);
  EXPECT_NE(four.owners[2], nullptr);
  EXPECT_EQ(four.owners[3], nullptr);
  EXPECT_EQ(four.heap->first_block->size, 192u);
}

TEST(HeapClearing, OfAHeapWithoutBlocksFails) {
  _mheap heap = {};

  EXPECT_EQ(mheap_clearall(&heap), -1);
  EXPECT_EQ(mheap_validate(&heap), -1);
}

TEST(HeapValidation, JoinsFreeBlocks) {
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[1]);

  EXPECT_EQ(mheap_validate(four.heap.get()), 0);

  EXPECT_EQ(four.heap->first_block->size, 192u);
}

int can_take_on_another_thread(__mutex_str* mutex) {
  int taken = 0;
  std::thread([&] {
    taken = mp_test_mutex(mutex);
    if (taken != 0) {
      mp_release_mutex(mutex);
    }
  }).join();
  return taken;
}

TEST(HeapValidation, KeepsTheMutexOfADamagedHeap) {
  const LogCapture log(4);
  FourBlocks four;
  EXPECT_EQ(can_take_on_another_thread(four.heap->mutex), 1);
  mheap_mblk* second = next_block(four.heap->first_block);
  second->size = 0;

  EXPECT_EQ(mheap_validate(four.heap.get()), -1);

  EXPECT_EQ(can_take_on_another_thread(four.heap->mutex), 0);
  EXPECT_EQ(log.lines(), Lines{});
  mp_release_mutex(four.heap->mutex);
}

TEST(HeapValidation, NamesABlockThatIsEmptyAfterJoining) {
  const LogCapture log;
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[1]);
  next_block(four.heap->first_block)->size = ~std::uint64_t{0} - 95;  // The sum wraps to 0.

  EXPECT_EQ(mheap_validate(four.heap.get()), -1);

  EXPECT_EQ(log.lines(), Lines{"ERROR: HEAP CORRUPTED: Illegal (0 size) block detected..."});
  mp_release_mutex(four.heap->mutex);
}

volatile std::sig_atomic_t last_signal = 0;

void note_signal(int signal) {
  last_signal = signal;
}

TEST(HeapDamage, RaisesSignal11InASearch) {
  const LogCapture log;
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[0]);
  next_block(four.heap->first_block)->size = 0;
  last_signal = 0;
  const auto previous = std::signal(SIGSEGV, note_signal);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 1, &owner), -1);

  std::signal(SIGSEGV, previous);
  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(last_signal, 11);
  EXPECT_EQ(log.lines(),
            Lines{"ERROR: HEAP 'Tested' CORRUPTED: Illegal (0 size) block detected..."});
}

TEST(HeapDamage, RaisesSignal11WhenAllIsCleared) {
  const LogCapture log;
  FourBlocks four;
  next_block(four.heap->first_block)->size = 0;
  last_signal = 0;
  const auto previous = std::signal(SIGSEGV, note_signal);

  mheap_clearall(four.heap.get());

  std::signal(SIGSEGV, previous);
  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(log.lines(), Lines{"ERROR: HEAP CORRUPTED: Illegal (0 size) block detected..."});
}

TEST(HeapResize, ToASizeThatIsNotLargerChangesNothing) {
  const Heap heap = make_heap(4096);
  const void* base = heap->base;

  EXPECT_EQ(mheap_resize(heap.get(), 4096, 0), ~std::uint64_t{0});
  EXPECT_EQ(mheap_resize(heap.get(), 4111, 0), ~std::uint64_t{0});
  EXPECT_EQ(mheap_resize(heap.get(), 100, 0), ~std::uint64_t{0});

  EXPECT_EQ(heap->base, base);
  EXPECT_EQ(heap->total_size, 4096u);
}

TEST(HeapResize, TakesBlocksAndOwnersAlong) {
  FourBlocks four;
  std::memset(four.owners[3], 0x33, 16);

  EXPECT_EQ(mheap_resize(four.heap.get(), 2000, 0), 2000u);

  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(four.owners[i], four.heap->base + i * 96 + 80);
    EXPECT_TRUE(mheap_is_valid(four.heap.get(), &four.owners[i]));
  }
  EXPECT_EQ(static_cast<unsigned char*>(four.owners[3])[15], 0x33);
  EXPECT_EQ(four.heap->total_size, 2000u);
}

TEST(HeapResize, KeepsGivingUpAHeaderOfTheNewSpace) {
  FourBlocks four;

  mheap_resize(four.heap.get(), 464 + 500, 0);

  auto* added = reinterpret_cast<mheap_mblk*>(four.heap->base + 4 * 96);
  EXPECT_EQ(added->state, kBlockFree);
  EXPECT_EQ(added->size, 960u - 464 - 80);
  EXPECT_EQ(next_block(added), four.heap->end_block);
}

TEST(HeapResize, KeepsTheDataAddressOfABlockWhoseFreeIsPending) {
  FourBlocks four;
  void* data = mheap_lock_ex(four.heap.get(), four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[0]);

  mheap_resize(four.heap.get(), 2000, 0);

  EXPECT_EQ(four.heap->first_block->data, data);
  EXPECT_EQ(mheap_unlock_ex(four.heap.get(), four.heap->base + 80), 0);
}

TEST(HeapResize, KeepsReturningTheNewSizeWhenThereIsNoMemory) {
  const LogCapture log;
  const Heap heap = make_heap(4096);

  EXPECT_EQ(mheap_resize(heap.get(), std::uint64_t{1} << 62, 0), std::uint64_t{1} << 62);

  EXPECT_EQ(mheap_totalsize(heap.get()), 4096u);
}

// --- Listings ---

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
