// Null for heaps, handles, names and results, where the calls say what it means.
#include <gtest/gtest.h>

#include "orsincore/memory.h"
#include "tests/memory/heap_fixture.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Heap;
using test::Lines;

TEST(NullResult, IsNotFilledIn) {
  EXPECT_GT(mem_info(nullptr), 0U);
}

TEST(NullName, IsAnEmptyOneToAHeap) {
  const Heap heap(mheap_initialize(nullptr, 4096, 16, MHEAP_COMPACT, 0));

  ASSERT_NE(heap, nullptr);
  EXPECT_EQ(heap->name[0], '\0');
}

TEST(NullName, IsAnEmptyTitleOfADump) {
  const Heap heap = test::make_heap(4096);
  const test::LogCapture log(3);

  mheap_dump(heap.get(), nullptr);

  ASSERT_FALSE(log.lines().empty());
  EXPECT_EQ(log.lines().front(), "DEBUG: HEAP 'Tested' - :");
}

TEST(NullHeap, IsNotDestroyed) {
  mheap_destroy(nullptr);
}

TEST(NullHeap, HasNoBlocks) {
  void* owner = nullptr;

  EXPECT_FALSE(mheap_is_valid(nullptr, &owner));
  EXPECT_EQ(mheap_unlock_ex(nullptr, &owner), 0);
}

TEST(NullHandle, OwnsNothing) {
  const Heap heap = test::make_heap(4096);
  const test::LogCapture log(4);

  EXPECT_FALSE(mheap_is_valid(heap.get(), nullptr));
  EXPECT_EQ(mheap_set_discard_callback(heap.get(), nullptr, nullptr), 0);
  EXPECT_EQ(mheap_lock_ex(heap.get(), nullptr), nullptr);
  EXPECT_EQ(mem_alloc_locked_buffer(nullptr, 100, MEM_HEAP_ANY), nullptr);
  EXPECT_EQ(mem_alloc_locked_buffer(nullptr, 100, MEM_HEAP_FRAME), nullptr);
  EXPECT_EQ(mem_lock_buffer(nullptr), 0);
  EXPECT_EQ(mem_keep_buffer(nullptr), 0);
  EXPECT_EQ(mem_unlock_buffer(nullptr), 0);
  EXPECT_EQ(mem_free_buffer(nullptr), -1);
  EXPECT_EQ(mem_free_locked_buffer(nullptr), -1);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(HeapAlignment, IsAboveZero) {
  EXPECT_EQ(mheap_initialize("Tested", 4096, 0, MHEAP_COMPACT, 0), nullptr);
  EXPECT_EQ(mheap_initialize("Tested", 4096, -16, MHEAP_COMPACT, 0), nullptr);
}

}  // namespace
}  // namespace orsin
