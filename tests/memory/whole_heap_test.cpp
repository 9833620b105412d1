// Clearing, checking, damage and growth: what concerns all blocks of a heap at once.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <future>
#include <thread>

#include "memory/heap_blocks.h"
#include "memory/movable_heap.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"
#include "tests/memory/heap_fixture.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/latch.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::discarded;
using test::formatted;
using test::FourBlocks;
using test::Heap;
using test::Lines;
using test::LogCapture;
using test::make_heap;
using test::note_discard;

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

// The run of one unit that a small growth leaves behind is part of a larger one now.
TEST(HeapClearing, LeavesNothingInTheIndexThatHasBeenJoined) {
  for (const bool has_run_in_front : {false, true}) {
    SCOPED_TRACE(has_run_in_front);
    const Heap heap = make_heap(512 + 4096, 512);
    void* owners[2] = {};
    for (void*& owner : owners) {
      ASSERT_EQ(mheap_alloc_lock(heap.get(), 2048 - 512, &owner), 1);
      mheap_unlock(heap.get(), &owner);
    }
    if (has_run_in_front) {
      mheap_free(heap.get(), &owners[0]);
    }
    mheap_resize(heap.get(), heap->total_size + 512 + 512, 0);
    ASSERT_EQ(next_block(next_block(heap->first_block))->size, 512u);

    EXPECT_EQ(mheap_clearall(heap.get()), 0);

    EXPECT_EQ(heap->first_block->size, 4096u + 512);
    EXPECT_TRUE(movable_heap::blocks_of(heap.get()).index_agrees());
  }
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

TEST(HeapValidation, OfASoundHeapLeavesItToOthers) {
  FourBlocks four;

  EXPECT_EQ(mheap_validate(four.heap.get()), 0);

  EXPECT_EQ(can_take_on_another_thread(four.heap->mutex), 1);
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

// Its end must not wait for the thread that found the damage.
TEST(HeapRegion, OfADamagedHeapIsGivenBackWhileItsMutexIsHeld) {
  FourBlocks four;
  next_block(four.heap->first_block)->size = 0;
  test::Latch damaged(1);
  test::Latch given_back(1);
  std::thread finder([&] {
    EXPECT_EQ(mheap_validate(four.heap.get()), -1);
    damaged.count_down();
    given_back.wait();
    mp_release_mutex(four.heap->mutex);
  });
  damaged.wait();

  std::future<void> end =
      std::async(std::launch::async, [&] { movable_heap::give_back_region(four.heap.get()); });
  const bool is_through = end.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  given_back.count_down();
  finder.join();
  end.get();

  EXPECT_TRUE(is_through);
  EXPECT_EQ(four.heap->base, nullptr);
}

TEST(HeapRegion, ThatWasGivenBackLeavesAHeapInWhichNothingFitsAndNothingIsFound) {
  const LogCapture log(3);
  FourBlocks four;
  _mheap* heap = four.heap.get();
  const std::uint8_t* base = heap->base;
  void* owner = nullptr;
  std::uint64_t free = 1;
  std::uint64_t freeable = 1;
  ASSERT_TRUE(movable_heap::region_holds(heap, base));
  EXPECT_TRUE(movable_heap::region_holds(heap, base + heap->total_size - 1));
  EXPECT_FALSE(movable_heap::region_holds(heap, base + heap->total_size));

  movable_heap::give_back_region(heap);

  EXPECT_EQ(can_take_on_another_thread(heap->mutex), 1);
  EXPECT_FALSE(movable_heap::region_holds(heap, base));
  EXPECT_FALSE(movable_heap::region_holds(heap, nullptr));
  EXPECT_EQ(mheap_alloc_lock(heap, 1, &owner), -1);
  EXPECT_EQ(mheap_lock(heap, &four.owners[0]), -1);
  EXPECT_EQ(mheap_free(heap, &four.owners[0]), -1);
  EXPECT_EQ(mheap_lock_ex(heap, base + 100), nullptr);
  EXPECT_FALSE(mheap_is_valid(heap, &four.owners[0]));
  EXPECT_EQ(mheap_queryspace(heap, free, freeable), 0u);
  EXPECT_EQ(freeable, 0u);
  EXPECT_EQ(mheap_clearall(heap), -1);
  EXPECT_EQ(mheap_validate(heap), -1);
  const std::size_t lines = log.lines().size();
  mheap_dump(heap, "Given back");
  EXPECT_EQ(log.lines().size(), lines + 2);
  EXPECT_EQ(log.lines().back(), "     :   Total :        0 of 0");
}

TEST(HeapRegion, GoesWithItsIndex) {
  FourBlocks four;
  void* pages = os_alloc(1, 0);  // The table of what the system gave stays as it is.
  const long before = test::live_blocks();

  movable_heap::give_back_region(four.heap.get());

  EXPECT_EQ(test::live_blocks(), before - 1);
  os_free(pages);
}

volatile std::sig_atomic_t last_signal = 0;
volatile std::sig_atomic_t signals = 0;

extern "C" void note_signal(int signal) {
  last_signal = signal;
  signals = signals + 1;
  std::signal(signal, note_signal);  // It is reset before each call.
}

// Notes the signals of damage instead of ending the process.
class HeapDamage : public testing::Test {
 protected:
  HeapDamage() : previous_(std::signal(SIGSEGV, note_signal)) { signals = 0; }
  ~HeapDamage() override { std::signal(SIGSEGV, previous_); }

  static constexpr char kLine[] =
      "ERROR: HEAP 'Tested' CORRUPTED: Illegal (0 size) block detected...";

 private:
  void (*previous_)(int);
};

TEST_F(HeapDamage, RaisesSignal11InASearch) {
  const LogCapture log;
  FourBlocks four;
  four.heap->mode = MHEAP_DISCARD;  // The other mode tries again without end.
  mheap_free(four.heap.get(), &four.owners[0]);
  next_block(four.heap->first_block)->size = 0;
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 1, &owner), -1);

  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(last_signal, 11);
}

// A search that met damage has found nothing, and the allocation goes on as after any such search.
TEST_F(HeapDamage, IsReportedByBothSearchesBeforeEachWait) {
  const LogCapture log;
  FourBlocks four;
  four.heap->mode = MHEAP_DISCARD;
  mheap_free(four.heap.get(), &four.owners[0]);
  next_block(four.heap->first_block)->size = 0;
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 1, &owner), -1);

  Lines expected;
  for (int wait = 0; wait < 10; ++wait) {
    expected.emplace_back(kLine);  // The log drops a line that is repeated once.
    expected.push_back(formatted("WARN : Waiting for free space in Tested heap: 96 (%d)", wait));
    expected.push_back("WARN : Timeout while waiting for free space in Tested heap");
  }
  EXPECT_EQ(log.lines(), expected);
  EXPECT_EQ(signals, 20);
}

// What a write beyond a block's end leaves behind: zeros where the next header was.
void overrun(mheap_mblk* header) {
  *header = {};
}

// One attempt, without the waits of mheap_alloc_lock().
bool allocate_once(_mheap* heap, std::uint64_t size, void** handle) {
  const HeapLock lock(heap);
  return movable_heap::allocate_once_locked(*heap, heap_block_size(*heap, size), handle);
}

// To the byte, which only a heap without alignment shows.
TEST(HeapDiscarding, DiscardsNothingWhereAllThatCanMoveIsAByteTooSmall) {
  const LogCapture log;
  const Heap heap = make_heap(65 + 208, 1, MHEAP_DISCARD);
  void* kept = nullptr;
  void* locked = nullptr;
  void* wanted = nullptr;
  ASSERT_EQ(mheap_alloc_lock(heap.get(), 39, &kept), 1);
  mheap_unlock(heap.get(), &kept);
  ASSERT_EQ(mheap_alloc_lock(heap.get(), 39, &locked), 1);

  EXPECT_FALSE(allocate_once(heap.get(), 40, &wanted));

  EXPECT_NE(kept, nullptr);
}

TEST_F(HeapDamage, OfAUsedBlockEndsASearchThatFindsNoRoom) {
  for (const bool is_indexed : {true, false}) {
    SCOPED_TRACE(is_indexed);
    const LogCapture log;
    FourBlocks four;
    if (!is_indexed) {
      movable_heap::drop_index(four.heap.get());
    }
    next_block(four.heap->first_block)->size = 0;
    signals = 0;
    void* owner = nullptr;

    EXPECT_FALSE(allocate_once(four.heap.get(), 1, &owner));

    EXPECT_EQ(signals, 1);
    EXPECT_EQ(log.lines(), Lines{kLine});
    EXPECT_NE(four.owners[0], nullptr);  // Nothing is discarded in a damaged heap.
    EXPECT_EQ(owner, nullptr);
  }
}

// As a walk from the first block on would.
TEST_F(HeapDamage, IsNoticedByASearchThatFindsRoomBehindIt) {
  for (const bool is_indexed : {true, false}) {
    SCOPED_TRACE(is_indexed);
    const LogCapture log;
    const Heap heap = make_heap(4096);
    if (!is_indexed) {
      movable_heap::drop_index(heap.get());
    }
    void* owners[3] = {};
    for (void*& owner : owners) {
      mheap_alloc_lock(heap.get(), 1, &owner);
      mheap_unlock(heap.get(), &owner);
    }
    mheap_free(heap.get(), &owners[1]);
    overrun(next_block(heap->first_block));
    mheap_free(heap.get(), &owners[0]);
    signals = 0;
    void* owner = nullptr;

    EXPECT_FALSE(allocate_once(heap.get(), 1000, &owner));

    EXPECT_EQ(signals, 1);
    EXPECT_EQ(owner, nullptr);
  }
}

TEST_F(HeapDamage, HidesTheBlocksBehindIt) {
  const Heap heap = make_heap(100000);
  void* owners[3] = {};
  for (void*& owner : owners) {
    mheap_alloc_lock(heap.get(), 20000, &owner);
  }
  next_block(heap->first_block)->size = 0;
  std::uint64_t free = 1;
  std::uint64_t freeable = 1;

  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(owners[2]) + 10000), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(owners[2]) + 127), owners[2]);
  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(owners[2]) + 128), nullptr);
  EXPECT_EQ(mheap_lock_ex(heap.get(), static_cast<char*>(owners[0]) + 10000), owners[0]);
  EXPECT_EQ(mheap_queryspace(heap.get(), free, freeable), 100000u);
  EXPECT_EQ(free, 0u);
}

TEST_F(HeapDamage, ThatJoiningBringsToLightRaisesSignal11WhenAllIsCleared) {
  const LogCapture log;
  FourBlocks four;
  next_block(four.heap->first_block)->size = ~std::uint64_t{0} - 95;  // The sum wraps to 0.

  EXPECT_EQ(mheap_clearall(four.heap.get()), 0);

  EXPECT_EQ(signals, 1);
  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(log.lines(), Lines{"ERROR: HEAP CORRUPTED: Illegal (0 size) block detected..."});
}

TEST_F(HeapDamage, RaisesSignal11WhenAllIsCleared) {
  const LogCapture log;
  FourBlocks four;
  next_block(four.heap->first_block)->size = 0;

  mheap_clearall(four.heap.get());

  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(log.lines(), Lines{"ERROR: HEAP CORRUPTED: Illegal (0 size) block detected..."});
}

// A walk from block to block would never end, with the heap's mutex held.
TEST_F(HeapDamage, RaisesSignal11InsteadOfAMoveIntoALargerRegion) {
  const LogCapture log;
  FourBlocks four;
  const auto* base = four.heap->base;
  const auto size = four.heap->total_size;
  next_block(four.heap->first_block)->size = 0;

  EXPECT_EQ(mheap_resize(four.heap.get(), 2000, 0), ~std::uint64_t{0});

  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(log.lines(), Lines{kLine});
  EXPECT_EQ(four.heap->base, base);
  EXPECT_EQ(four.heap->total_size, size);
  EXPECT_EQ(four.owners[0], base + four.heap->header_size);
}

TEST_F(HeapDamage, OfAFreeBlockIsNoticedWhenTheOneBeforeItIsFreed) {
  const LogCapture log;
  FourBlocks four;
  mheap_free(four.heap.get(), &four.owners[1]);
  overrun(next_block(four.heap->first_block));

  EXPECT_EQ(mheap_free(four.heap.get(), &four.owners[0]), 1);

  EXPECT_EQ(signals, 1);
  EXPECT_EQ(log.lines(), Lines{kLine});
  EXPECT_EQ(four.owners[0], nullptr);
  EXPECT_EQ(four.heap->first_block->size, 96u);  // Not a byte of what is damaged has been joined.
}

TEST_F(HeapDamage, OfAUsedBlockIsNoticedWhenTheOneBeforeItIsFreed) {
  const LogCapture log;
  FourBlocks four;
  overrun(next_block(four.heap->first_block));

  EXPECT_EQ(mheap_free(four.heap.get(), &four.owners[0]), 1);

  EXPECT_EQ(signals, 1);
  EXPECT_EQ(log.lines(), Lines{kLine});
}

TEST_F(HeapDamage, IsNoticedWhenAPendingFreeIsCompleted) {
  const LogCapture log;
  FourBlocks four;
  void* data = mheap_lock_ex(four.heap.get(), four.owners[0]);
  mheap_free(four.heap.get(), &four.owners[0]);
  overrun(next_block(four.heap->first_block));

  EXPECT_EQ(mheap_unlock_ex(four.heap.get(), data), 1);

  EXPECT_EQ(signals, 1);
  EXPECT_EQ(log.lines(), Lines{kLine});
}

mheap_mblk* behind_discarded = nullptr;

void overrun_while_discarded(void* /*data*/) {
  overrun(behind_discarded);
}

TEST_F(HeapDamage, DoneByADiscardCallbackEndsTheSearch) {
  const LogCapture log;
  FourBlocks four;
  four.heap->mode = MHEAP_DISCARD;
  behind_discarded = next_block(four.heap->first_block);
  mheap_set_discard_callback(four.heap.get(), four.owners[0], overrun_while_discarded);
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 1, &owner), -1);

  EXPECT_GT(signals, 0);
  EXPECT_EQ(four.owners[0], nullptr);
  EXPECT_EQ(owner, nullptr);
}

// A free block behind is noticed again by each search that comes by.
TEST_F(HeapDamage, StaysNoticedAfterTheFirstReport) {
  const LogCapture log;
  FourBlocks four;
  four.heap->mode = MHEAP_DISCARD;
  mheap_free(four.heap.get(), &four.owners[1]);
  overrun(next_block(four.heap->first_block));
  mheap_free(four.heap.get(), &four.owners[0]);
  signals = 0;
  void* owner = nullptr;

  EXPECT_EQ(mheap_alloc_lock(four.heap.get(), 1, &owner), -1);

  EXPECT_EQ(signals, 20);
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

TEST(HeapResize, MakesABlockOfWhatIsLeftWhereAHeadersFieldsFitIntoIt) {
  struct Case {
    std::uint64_t grown;
    std::uint64_t added;
  };
  constexpr Case kCases[] = {{16, 0}, {80, 0}, {80 + 48, 0}, {80 + 64, 64}, {80 + 80, 80}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.grown);
    FourBlocks four;
    std::uint64_t free = 1;
    std::uint64_t freeable = 1;

    EXPECT_EQ(mheap_resize(four.heap.get(), 464 + c.grown, 0), 464 + c.grown);

    EXPECT_EQ(mheap_queryspace(four.heap.get(), free, freeable), 464 + c.grown);
    EXPECT_EQ(free, c.added);
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(four.heap->end_block),
              four.heap->base + 4 * 96 + c.added);
  }
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

}  // namespace
}  // namespace orsin
