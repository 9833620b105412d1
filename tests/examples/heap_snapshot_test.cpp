#include "examples/host/heap_snapshot.h"

#include <gtest/gtest.h>

namespace host {
namespace {

HeapSnapshot sample() {
  HeapSnapshot heap;
  heap.size = 1000;
  heap.blocks = {{0, 100, BlockState::kUsed},   {100, 50, BlockState::kFree},
                 {150, 200, BlockState::kUsed}, {350, 80, BlockState::kLocked},
                 {430, 120, BlockState::kFree}, {550, 40, BlockState::kExLocked},
                 {590, 30, BlockState::kUsed},  {620, 70, BlockState::kFree},
                 {690, 10, BlockState::kUsed},  {700, 60, BlockState::kFree}};
  return heap;
}

TEST(HeapSnapshot, AddsUpItsBlocks) {
  const HeapSnapshot heap = sample();

  EXPECT_EQ(heap.total(BlockState::kUsed), 340u);
  EXPECT_EQ(heap.total(BlockState::kFree), 300u);
  EXPECT_EQ(heap.total(BlockState::kLocked), 80u);
  EXPECT_EQ(heap.total(BlockState::kExLocked), 40u);
  EXPECT_EQ(heap.largest_gap(), 120u);
}

TEST(HeapSnapshot, KnowsWhatMovingAndDiscardingWouldGive) {
  const Stretch most_free = stretch_with_most_free(sample());
  EXPECT_EQ(most_free.free, 130u);
  EXPECT_EQ(most_free.used, 40u);

  const Stretch longest = longest_stretch(sample());
  EXPECT_EQ(longest.free, 50u);
  EXPECT_EQ(longest.used, 300u);
}

TEST(HeapSnapshot, OfAHeapWithoutBlocksIsEmpty) {
  const HeapSnapshot heap = take_snapshot(MEM_HEAP_ANY);

  EXPECT_TRUE(heap.blocks.empty());
  EXPECT_EQ(heap.largest_gap(), 0u);
  EXPECT_EQ(stretch_with_most_free(heap).free, 0u);
}

}  // namespace
}  // namespace host
