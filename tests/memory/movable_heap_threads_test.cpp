// Many threads on one heap: nobody waits for ever, nobody loses a block or what stands in it.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <latch>
#include <random>
#include <thread>
#include <vector>

#include "orsincore/memory.h"

namespace orsin {
namespace {

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
  std::latch gate(kThreads);
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
  std::latch started(1);

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

}  // namespace
}  // namespace orsin
