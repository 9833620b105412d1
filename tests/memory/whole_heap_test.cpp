// Clearing, checking, damage and growth: what concerns all blocks of a heap at once.
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <thread>

#include "memory/heap_blocks.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"
#include "tests/memory/heap_fixture.h"
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

TEST_F(HeapDamage, RaisesSignal11WhenAllIsCleared) {
  const LogCapture log;
  FourBlocks four;
  next_block(four.heap->first_block)->size = 0;

  mheap_clearall(four.heap.get());

  EXPECT_EQ(last_signal, SIGSEGV);
  EXPECT_EQ(log.lines(), Lines{"ERROR: HEAP CORRUPTED: Illegal (0 size) block detected..."});
}

// What a write beyond a block's end leaves behind: zeros where the next header was.
void overrun(mheap_mblk* header) {
  *header = {};
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
