// The standard heaps for a test that receives messages, and a look at what lies in them.
#pragma once

#include <gtest/gtest.h>

#include "memory/standard_heaps.h"
#include "orsincore/memory.h"

namespace orsin::test {

class FrameHeap {
 public:
  FrameHeap() {
    standard_heaps::reset();
    EXPECT_NE(mem_alloc_pools(), 0u);
    free_at_start_ = free_bytes();
  }
  ~FrameHeap() { standard_heaps::reset(); }
  FrameHeap(const FrameHeap&) = delete;
  FrameHeap& operator=(const FrameHeap&) = delete;

  /// True when no buffer lies in the heap, locked or not.
  [[nodiscard]] bool is_empty() const { return free_bytes() == free_at_start_; }

 private:
  [[nodiscard]] static std::uint64_t free_bytes() {
    std::uint64_t free = 0;
    std::uint64_t freeable = 0;
    mheap_queryspace(mem_getheap(MEM_HEAP_FRAME), free, freeable);
    return free;
  }

  std::uint64_t free_at_start_ = 0;
};

}  // namespace orsin::test
