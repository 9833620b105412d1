#include "memory/small_blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "memory/small_block_pool.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

class SmallBlocks : public testing::Test {
 protected:
  void TearDown() override { small_blocks::stop(); }
};

TEST_F(SmallBlocks, ComeFromThePoolOfTheirSize) {
  struct Case {
    std::size_t size, distance;  // Between two fresh blocks.
  };
  constexpr Case kCases[] = {{1, 40}, {32, 40}, {33, 72}, {64, 72}, {65, 136}, {128, 136}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.size);
    small_blocks::stop();

    const auto* first = static_cast<const char*>(sb_alloc(c.size));
    const auto* second = static_cast<const char*>(sb_alloc(c.size));

    EXPECT_EQ(static_cast<std::size_t>(second - first), c.distance);
  }
}

TEST_F(SmallBlocks, Of32And33BytesComeFromDifferentPools) {
  void* small = sb_alloc(32);
  sb_free(small, 32);

  EXPECT_NE(sb_alloc(33), small);
  EXPECT_EQ(sb_alloc(32), small);
}

TEST_F(SmallBlocks, ComeFromChunksOfTheirPoolsCount) {
  struct Case {
    std::size_t size;
    int chunk_elements;
  };
  constexpr Case kCases[] = {{32, 524288}, {64, 262144}, {128, 131072}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.size);
    ASSERT_NE(sb_alloc(c.size), nullptr);
    const long before = test::live_blocks();

    for (int index = 1; index < c.chunk_elements; ++index) {
      ASSERT_NE(sb_alloc(c.size), nullptr);
    }
    EXPECT_EQ(test::live_blocks(), before);
    ASSERT_NE(sb_alloc(c.size), nullptr);
    EXPECT_EQ(test::live_blocks(), before + 1);
  }
}

TEST_F(SmallBlocks, GiveTheBlockThatWasFreedLastFirst) {
  constexpr std::size_t kSizes[] = {1, 32, 33, 64, 65, 128};
  for (const std::size_t size : kSizes) {
    SCOPED_TRACE(size);
    void* a = sb_alloc(size);
    void* b = sb_alloc(size);
    sb_free(a, size);
    sb_free(b, size);

    EXPECT_EQ(sb_alloc(size), b);
    EXPECT_EQ(sb_alloc(size), a);
  }
}

TEST_F(SmallBlocks, Above128BytesAreHeapBlocks) {
  void* block = sb_alloc(129);
  ASSERT_NE(block, nullptr);
  std::memset(block, 1, 129);
  const test::FreeWatch watch;

  sb_free(block, 129);

  EXPECT_TRUE(watch.saw(block));
}

TEST_F(SmallBlocks, Of128BytesNeverReachTheHeap) {
  void* block = sb_alloc(128);
  const test::FreeWatch watch;

  sb_free(block, 128);

  EXPECT_FALSE(watch.saw(block));
}

TEST_F(SmallBlocks, NeverOverlapAndKeepWhatIsWritten) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  struct Block {
    unsigned char* data;
    std::size_t size;
    unsigned char stamp;
  };
  std::vector<Block> live;

  for (int step = 0; step < 50000; ++step) {
    if (live.size() < 2000 && random() % 5 < 3) {
      const std::size_t size = random() % 140 + 1;
      Block block = {static_cast<unsigned char*>(sb_alloc(size)), size,
                     static_cast<unsigned char>(random())};
      std::memset(block.data, block.stamp, size);
      live.push_back(block);
    } else if (!live.empty()) {
      std::swap(live[random() % live.size()], live.back());
      const Block block = live.back();
      live.pop_back();
      ASSERT_TRUE(std::all_of(block.data, block.data + block.size,
                              [&](unsigned char byte) { return byte == block.stamp; }));
      sb_free(block.data, block.size);
    }
  }
  for (const Block& block : live) {
    sb_free(block.data, block.size);
  }
}

TEST_F(SmallBlocks, OfEverySizeGoBackToTheHeapAtClosedown) {
  const long before = test::live_blocks();
  for (const std::size_t size : {32u, 64u, 128u}) {
    ASSERT_NE(sb_alloc(size), nullptr);
  }

  small_blocks::stop();

  EXPECT_EQ(test::live_blocks(), before);
}

TEST_F(SmallBlocks, StartAgainAfterClosedown) {
  sb_alloc(16);
  small_blocks::stop();

  void* block = sb_alloc(16);

  ASSERT_NE(block, nullptr);
  std::memset(block, 0, 16);
}

// Small pools show the whole chunk.
class Pool : public testing::Test {
 protected:
  void TearDown() override { pool_.release_chunks(); }

  SmallBlockPool pool_{32, 2000, "tested pool"};
};

TEST_F(Pool, HandsOutAChunkInAddressOrder) {
  auto* first = static_cast<std::byte*>(pool_.take());

  for (std::ptrdiff_t index = 1; index < 2000; ++index) {
    ASSERT_EQ(pool_.take(), first + index * 40);
  }
}

TEST_F(Pool, PutsAFreedBlockBeforeTheRestOfTheChunk) {
  auto* first = static_cast<std::byte*>(pool_.take());
  pool_.give_back(first);

  EXPECT_EQ(pool_.take(), first);
  EXPECT_EQ(pool_.take(), first + 40);
}

TEST_F(Pool, TakesAnotherChunkWhenTheFirstIsUsedUp) {
  std::vector<void*> blocks;
  for (int index = 0; index < 4001; ++index) {
    blocks.push_back(pool_.take());
    std::memset(blocks.back(), 0x77, 32);
  }

  std::sort(blocks.begin(), blocks.end());
  EXPECT_EQ(std::adjacent_find(blocks.begin(), blocks.end()), blocks.end());
}

TEST_F(Pool, MakesDoWithHalfAChunkWhenMemoryIsShort) {
  const LogCapture log;
  const test::AllocationRefusal refusal(2000 * 40);

  auto* first = static_cast<std::byte*>(pool_.take());
  ASSERT_NE(first, nullptr);
  for (std::ptrdiff_t index = 1; index < 1000; ++index) {
    ASSERT_EQ(pool_.take(), first + index * 40);
  }

  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(Pool, GivesUpBelow32769Bytes) {
  const LogCapture log;
  msgerror("The heap's own words");                  // A continuation needs a head.
  const test::AllocationRefusal refusal(1000 * 40);  // 500 elements would be below the limit.

  EXPECT_EQ(pool_.take(), nullptr);

  EXPECT_EQ(log.lines(), (Lines{"ERROR: The heap's own words",
                                "     : Failed to extend the 'tested pool' memory pool!"}));
}

// With its link an element of 32761 bytes is the smallest chunk that is worth a try.
TEST_F(Pool, MakesDoWithAChunkOfOneElementOf32769Bytes) {
  const LogCapture log;
  SmallBlockPool smallest(32761, 2, "two elements a chunk");
  SmallBlockPool too_small(32760, 2, "two elements a chunk");
  {
    const test::AllocationRefusal refusal(2 * 32768);

    void* first = smallest.take();
    void* second = smallest.take();

    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_EQ(too_small.take(), nullptr);
  }
  smallest.release_chunks();
}

TEST_F(Pool, RecoversWhenMemoryIsThereAgain) {
  {
    const test::AllocationRefusal refusal(1);
    ASSERT_EQ(pool_.take(), nullptr);
  }

  EXPECT_NE(pool_.take(), nullptr);
}

TEST_F(Pool, ServesAChunkThatItCannotRemember) {
  const LogCapture log;
  SmallBlockPool pool(32, 2, "two elements a chunk");
  void* chunk = nullptr;
  {
    const test::AllocationRefusal refusal(16 * sizeof(void*));  // The chunk has only 80 bytes.
    chunk = pool.take();
    ASSERT_NE(chunk, nullptr);
  }

  pool.release_chunks();

  EXPECT_EQ(log.lines(), Lines{"ERROR: Vector ensure: Not enough memory..(0 + 1 * 8)"});
  std::free(static_cast<std::byte*>(chunk) - 8);
}

}  // namespace
}  // namespace orsin
