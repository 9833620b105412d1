// Many threads on one heap: nobody waits for ever, nobody loses a block or what stands in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "memory/movable_heap.h"
#include "orsincore/memory.h"
#include "orsincore/primitives.h"
#include "tests/support/latch.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

constexpr int kThreads = 8;
constexpr int kRounds = 1500;
constexpr std::uint64_t kHeapBytes = std::uint64_t{1} << 20;
constexpr std::uint64_t kBlockBytesMax = 40000;  // Eight locked blocks of it fit at any time.

struct Block {
  void* data = nullptr;
  std::uint64_t bytes = 0;
};

bool is_stamped(const Block& block, int stamp) {
  const auto* bytes = static_cast<const unsigned char*>(block.data);
  return bytes[0] == stamp && std::memcmp(bytes, bytes + 1, block.bytes - 1) == 0;
}

// What one owner does with its blocks; returns the number of broken promises.
int use_heap(_mheap* heap, int stamp) {
  std::mt19937 random(static_cast<unsigned>(stamp));
  Block blocks[4];
  int broken = 0;
  for (int round = 0; round < kRounds; ++round) {
    Block& block = blocks[random() % 4];
    if (mheap_lock(heap, &block.data) > 0) {
      broken += is_stamped(block, stamp) ? 0 : 1;
    } else {
      // Never allocated, or discarded meanwhile.
      block.bytes = random() % kBlockBytesMax + 1;
      if (mheap_alloc_lock(heap, block.bytes, &block.data) != 1) {
        ++broken;
        continue;
      }
      std::memset(block.data, stamp, block.bytes);
    }
    void* data = mheap_lock_ex(heap, static_cast<char*>(block.data) + random() % block.bytes);
    broken += data == block.data ? 0 : 1;
    mheap_unlock(heap, &block.data);
    // The ex lock alone keeps the block where it is.
    broken += is_stamped({data, block.bytes}, stamp) ? 0 : 1;
    if (random() % 4 == 0) {
      broken += mheap_free(heap, &block.data) == 1 ? 0 : 1;
    }
    broken += mheap_unlock_ex(heap, data) == 1 ? 0 : 1;
  }
  for (Block& block : blocks) {
    mheap_free(heap, &block.data);
  }
  return broken;
}

void run_threads(mheap_mode mode) {
  _mheap* heap = mheap_initialize("Shared", kHeapBytes, 16, mode, 0);
  test::Latch gate(kThreads);
  std::atomic<int> broken = 0;
  std::vector<std::thread> threads;
  for (int stamp = 1; stamp <= kThreads; ++stamp) {
    threads.emplace_back([&, stamp] {
      gate.arrive_and_wait();
      broken += use_heap(heap, stamp);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(broken, 0);
  std::uint64_t free = 0;
  std::uint64_t freeable = 0;
  mheap_queryspace(heap, free, freeable);
  EXPECT_EQ(free, kHeapBytes - heap->header_size);
  mheap_destroy(heap);
}

TEST(MovableHeapThreads, ShareADiscardingHeap) {
  run_threads(MHEAP_DISCARD);
}

TEST(MovableHeapThreads, ShareACompactingHeap) {
  run_threads(MHEAP_COMPACT);
}

// The owner's side of a hand-over: it holds all the memory and lets go when asked to.
class MovableHeapWaiting : public testing::TestWithParam<mheap_mode> {};

TEST_P(MovableHeapWaiting, EndsWhenABlockIsUnlocked) {
  _mheap* heap = mheap_initialize("Full", 65536, 16, GetParam(), 0);
  void* all = nullptr;
  ASSERT_EQ(mheap_alloc_lock(heap, 65536 - 400, &all), 1);
  std::atomic<int> result = 0;
  void* wanted = nullptr;
  test::Latch started(1);

  std::thread allocator([&] {
    started.count_down();
    result = mheap_alloc_lock(heap, 30000, &wanted);
  });
  started.wait();
  mheap_unlock(heap, &all);
  allocator.join();

  EXPECT_EQ(result, 1);
  EXPECT_NE(wanted, nullptr);
  EXPECT_EQ(all, nullptr);
  mheap_destroy(heap);
}

INSTANTIATE_TEST_SUITE_P(Modes, MovableHeapWaiting, testing::Values(MHEAP_DISCARD, MHEAP_COMPACT));

// A heap whose one block takes everything, locked, and a thread that wants some of it. What the
// thread does is seen in the log.
class FullHeap {
 public:
  explicit FullHeap(mheap_mode mode, int log_level)
      : log_(log_level), heap_(mheap_initialize("Full", 65536, 16, mode, 0)) {
    EXPECT_EQ(mheap_alloc_lock(heap_, 65536 - 400, &all_), 1);
  }
  ~FullHeap() { mheap_destroy(heap_); }
  FullHeap(const FullHeap&) = delete;
  FullHeap& operator=(const FullHeap&) = delete;

  void start_allocating() {
    allocator_ = std::thread([this] { result_ = mheap_alloc_lock(heap_, 30000, &wanted_); });
  }

  /// Returns when the log has at least `lines` lines that contain `text`.
  void wait_for(const char* text, int lines) const {
    while (count(text) < lines) {
      std::this_thread::yield();
    }
  }
  [[nodiscard]] int count(const char* text) const {
    const Lines lines = log_.lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [text](const auto& line) {
      return line.find(text) != std::string::npos;
    }));
  }

  void unlock_all() { EXPECT_EQ(mheap_unlock(heap_, &all_), 0); }
  void free_all() {
    const HeapLock lock(heap_);  // Nobody sees the block unlocked but not yet free.
    EXPECT_EQ(mheap_unlock(heap_, &all_), 0);
    EXPECT_EQ(mheap_free(heap_, &all_), 1);
  }
  void give_back() { movable_heap::give_back_region(heap_); }
  /// As another owner would free it who had unlocked it long ago: without a signal.
  void free_in_silence() {
    const HeapLock lock(heap_);
    movable_heap::blocks_of(heap_).block_of(all_)->lock_count = 0;
    EXPECT_EQ(mheap_free(heap_, &all_), 1);
  }
  /// Of the allocation, when it has returned. To be called once.
  [[nodiscard]] int result() {
    allocator_.join();
    return result_;
  }

 private:
  LogCapture log_;
  _mheap* heap_;
  void* all_ = nullptr;
  void* wanted_ = nullptr;
  int result_ = 0;
  std::thread allocator_;
};

constexpr char kWaiting[] = "Waiting for free space in Full heap: 30080";
constexpr char kTimeout[] = "Timeout while waiting for free space in Full heap";
constexpr char kTotallyLocked[] = "TOTALLY LOCKED !!";

// On a machine that is busy the unlock may come just as the wait times out, so one wake-up in many
// tries must do; if unlocking woke nobody there would be none.
TEST(MovableHeapWaiters, AreWokenByAnUnlock) {
  constexpr int kTriesMax = 50;
  bool is_woken = false;
  for (int attempt = 0; attempt < kTriesMax && !is_woken; ++attempt) {
    FullHeap full(MHEAP_DISCARD, 1);
    full.start_allocating();
    full.wait_for(kWaiting, 1);

    full.unlock_all();

    ASSERT_EQ(full.result(), 1);
    is_woken = full.count(kTimeout) < full.count(kWaiting);
  }

  EXPECT_TRUE(is_woken);
}

// The mutex and the condition are public: a thread may wait there for its own reasons.
TEST(MovableHeapWaiters, OfTheHostAreWokenByAnUnlockToo) {
  constexpr long long kDeadlineNs = 10'000'000'000;  // Only for a heap that wakes nobody.
  _mheap* heap = mheap_initialize("Watched", 65536, 16, MHEAP_DISCARD, 0);
  void* block = nullptr;
  ASSERT_EQ(mheap_alloc_lock(heap, 1000, &block), 1);
  test::Latch holding(1);
  int is_woken = 0;

  std::thread host([&] {
    mp_get_mutex(heap->mutex);
    holding.count_down();  // The unlock comes through when the wait lets go of the mutex.
    is_woken = mp_cond_timedwait(heap->cond, heap->mutex, kDeadlineNs);
    mp_release_mutex(heap->mutex);
  });
  holding.wait();
  EXPECT_EQ(mheap_unlock(heap, &block), 0);
  host.join();

  EXPECT_NE(is_woken, 0);
  mheap_destroy(heap);
}

// Kept on purpose in mheap_free(): only an unlock signals. Every wait ends by its time.
TEST(MovableHeapWaiters, KeepSleepingWhenABlockIsFreed) {
  FullHeap full(MHEAP_DISCARD, 1);
  full.start_allocating();
  full.wait_for(kWaiting, 1);

  full.free_in_silence();

  EXPECT_EQ(full.result(), 1);
  EXPECT_EQ(full.count(kTimeout), full.count(kWaiting));
}

TEST(MovableHeapWaiters, GiveUpAfterTenWaitsForALockedHeap) {
  FullHeap full(MHEAP_DISCARD, 1);
  full.start_allocating();

  EXPECT_EQ(full.result(), -1);

  EXPECT_EQ(full.count(kWaiting), 10);
  EXPECT_EQ(full.count(kTimeout), 10);
}

TEST(MovableHeapWaiters, KeepTryingWithoutEndInACompactingHeap) {
  constexpr int kMoreThanTenWaits = 30;
  FullHeap full(MHEAP_COMPACT, 3);
  full.start_allocating();
  full.wait_for(kTotallyLocked, kMoreThanTenWaits);

  full.free_all();

  EXPECT_EQ(full.result(), 1);
  EXPECT_EQ(full.count(kWaiting), 0);
}

TEST(MovableHeapWaiters, GiveUpWhenTheHeapHasComeToItsEnd) {
  FullHeap full(MHEAP_COMPACT, 3);
  full.start_allocating();
  full.wait_for(kTotallyLocked, 1);

  full.give_back();

  EXPECT_EQ(full.result(), -1);
}

}  // namespace
}  // namespace orsin
