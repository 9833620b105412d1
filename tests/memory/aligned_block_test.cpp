#include "memory/aligned_block.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <vector>

#include "orsincore/memory.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

std::uint64_t address_of(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

// A block of 10 bytes inside a block of its own: the inner start carries a header too, as the step
// back of a_realloc() expects. Returns the inner data; `outer` is what malloc() gave.
unsigned char* nested_block(void*& outer) {
  outer = std::malloc(256);
  auto* start = static_cast<unsigned char*>(outer) + 32;
  AlignedHeader{0, 32}.write(start);
  unsigned char* data = start + 48;
  AlignedHeader{10, 48}.write(data);
  std::iota(data, data + 10, static_cast<unsigned char>(1));
  return data;
}

TEST(AlignedBlock, LiesAtAMultipleOfItsAlignmentWithItsSizeInFront) {
  void* block = a_alloc(100, 64);

  EXPECT_EQ(address_of(block) % 64, 0u);
  EXPECT_EQ(AlignedHeader::read(block).size, 100u);

  a_free(block);
}

TEST(AlignedBlock, TakesThePageSizeForAnAlignmentBelowFour) {
  for (const int alignment : {0, 3, -1}) {
    SCOPED_TRACE(alignment);
    void* block = a_alloc(10, alignment);

    EXPECT_EQ(address_of(block) % static_cast<std::uint64_t>(mem_pagesize()), 0u);

    a_free(block);
  }
}

TEST(AlignedBlock, TakesAnyAlignmentFromFourOn) {
  for (const int alignment : {4, 5, 7, 16, 24, 100, 4096, 12345}) {
    SCOPED_TRACE(alignment);
    auto* block = static_cast<unsigned char*>(a_alloc(64, alignment));

    EXPECT_EQ(address_of(block) % static_cast<std::uint64_t>(alignment), 0u);
    EXPECT_LE(AlignedHeader::read(block).distance,
              kAlignedHeaderBytes + static_cast<std::uint64_t>(alignment));
    std::fill(block, block + 64, static_cast<unsigned char>(7));

    a_free(block);
  }
}

TEST(AlignedBlock, KeepsAWholeUnitFreeWhereTheStartIsAlignedAlready) {
  EXPECT_EQ(aligned_data_address(48, 64), 128u);  // 48 + 16 is a multiple of 64.
  EXPECT_EQ(aligned_data_address(49, 64), 128u);
  EXPECT_EQ(aligned_data_address(47, 64), 64u);
}

TEST(AlignedBlock, FitsIntoItsRequestForEveryStartAndAlignment) {
  for (std::uint64_t alignment = 4; alignment < 200; ++alignment) {
    for (std::uint64_t start = 4096; start < 4096 + alignment; ++start) {
      const std::uint64_t data = aligned_data_address(start, alignment);
      ASSERT_EQ(data % alignment, 0u);
      ASSERT_GE(data, start + kAlignedHeaderBytes);
      ASSERT_LE(data + 33, start + *aligned_request(33, alignment));
    }
  }
}

TEST(AlignedBlock, IsReleasedAsTheHeapBlockThatHoldsIt) {
  void* block = a_alloc(100, 64);
  void* start = static_cast<unsigned char*>(block) - AlignedHeader::read(block).distance;
  const test::FreeWatch watch;

  a_free(block);

  EXPECT_TRUE(watch.saw(start));
}

TEST(AlignedBlock, ReportsWhatTheHeapRefuses) {
  const LogCapture log;
  const test::AllocationRefusal refusal(1500);

  EXPECT_EQ(a_alloc(1536, 16), nullptr);

  EXPECT_EQ(log.lines(), Lines{"ERROR: MEMORY: Aligned allocation failed.. (Requested: 1.500)"});
}

TEST(AlignedBlock, RefusesASizeThatWrapsAround) {
  const LogCapture log;

  EXPECT_EQ(a_alloc(~std::uint64_t{0} - 20, 16), nullptr);

  EXPECT_EQ(log.lines(),
            Lines{"ERROR: MEMORY: Aligned allocation failed.. (Requested: 18014398509481984.000)"});
}

TEST(AlignedReallocation, OfNothingIsAnAllocation) {
  void* block = a_realloc(nullptr, 50, 32);

  EXPECT_EQ(address_of(block) % 32, 0u);
  EXPECT_EQ(AlignedHeader::read(block).size, 50u);

  a_free(block);
}

TEST(AlignedReallocation, TakesTheContentsAlong) {
  void* outer = nullptr;
  const unsigned char* data = nested_block(outer);
  const std::vector<unsigned char> expected(data, data + 10);

  auto* grown = static_cast<unsigned char*>(a_realloc(const_cast<unsigned char*>(data), 20, 16));

  EXPECT_EQ(std::vector<unsigned char>(grown, grown + 10), expected);
  EXPECT_EQ(AlignedHeader::read(grown).size, 20u);
  a_free(grown);
}

TEST(AlignedReallocation, TakesASingleByteAlong) {
  void* outer = nullptr;
  unsigned char* data = nested_block(outer);
  AlignedHeader{1, 48}.write(data);
  data[0] = 0x5A;

  auto* grown = static_cast<unsigned char*>(a_realloc(data, 20, 16));

  EXPECT_EQ(grown[0], 0x5A);
  a_free(grown);
}

TEST(AlignedReallocation, CutsTheContentsToASmallerBlock) {
  void* outer = nullptr;
  unsigned char* data = nested_block(outer);

  auto* cut = static_cast<unsigned char*>(a_realloc(data, 4, 16));

  EXPECT_EQ(std::vector<unsigned char>(cut, cut + 4), (std::vector<unsigned char>{1, 2, 3, 4}));
  a_free(cut);
}

// With a block straight from a_alloc() the second step would read the process heap's own word and
// free a wild address, so the release is shown on a nested block, where both words are known.
TEST(AlignedReallocation, KeepsSteppingBackTwiceWhereFreeStepsOnce) {
  void* outer = nullptr;
  unsigned char* data = nested_block(outer);
  const void* start = data - 48;
  void* moved = nullptr;
  {
    const test::FreeWatch watch;

    moved = a_realloc(data, 10, 16);

    EXPECT_TRUE(watch.saw(outer));
    EXPECT_FALSE(watch.saw(start));
  }
  a_free(moved);
}

TEST(AlignedReallocation, LeavesTheOldBlockWhenThereIsNoRoomForANewOne) {
  const LogCapture log;
  void* block = a_alloc(10, 16);
  std::memset(block, 0x5A, 10);
  {
    const test::AllocationRefusal refusal(2000);

    EXPECT_EQ(a_realloc(block, 2048, 16), nullptr);
  }

  EXPECT_EQ(log.lines(),
            (Lines{"ERROR: MEMORY: Aligned allocation failed.. (Requested: 2.000)",
                   "WARN : MEMORY: Aligned re-allocation failed.. (Requested: 2.000)"}));
  EXPECT_EQ(AlignedHeader::read(block).size, 10u);
  EXPECT_EQ(static_cast<unsigned char*>(block)[9], 0x5A);
  a_free(block);
}

}  // namespace
}  // namespace orsin
