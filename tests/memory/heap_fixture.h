// Small heaps for tests, and a look at their blocks.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "orsincore/memory.h"

namespace orsin::test {

struct DestroyHeap {
  void operator()(_mheap* heap) const { mheap_destroy(heap); }
};
using Heap = std::unique_ptr<_mheap, DestroyHeap>;

inline Heap make_heap(std::uint64_t size, int alignment = 16, mheap_mode mode = MHEAP_COMPACT) {
  return Heap(mheap_initialize("Tested", size, alignment, mode, 0));
}

// The header in front of an owner's data.
inline mheap_mblk* block_of(const Heap& heap, void* data) {
  return reinterpret_cast<mheap_mblk*>(static_cast<std::uint8_t*>(data) - heap->header_size);
}

// printf's idea of the values, as the log shows them.
template <typename... Values>
std::string formatted(const char* format, Values... values) {
  char text[256];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

/// What note_discard() has seen; tests clear it.
inline std::vector<void*> discarded;

inline void note_discard(void* data) {
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

}  // namespace orsin::test
