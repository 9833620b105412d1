// The record behind a heap: what mheap_initialize() makes beside the public structure.
#pragma once

#include <atomic>
#include <cstdint>

#include "memory/heap_blocks.h"
#include "orsincore/memory.h"

namespace orsin {

/// Where the region lies, for readers that do not hold the mutex. While `changes` is odd the region is
/// being replaced, and owners' variables point into the old one or the new one.
struct RegionBounds {
  std::atomic<std::uint32_t> changes;
  std::atomic<std::uint64_t> begin;
  std::atomic<std::uint64_t> bytes;

  void set(const _mheap& heap) {
    begin.store(address_of(heap.base), std::memory_order_release);
    bytes.store(heap.total_size, std::memory_order_release);
  }
};

/// One allocation: the public structure first.
struct HeapRecord {
  _mheap heap;
  FreeRuns runs;
  RegionBounds bounds;
  std::atomic<bool> is_damaged;  // A validation has failed and keeps the mutex for ever.
};

[[nodiscard]] inline HeapRecord& record_of(_mheap* heap) {
  return *reinterpret_cast<HeapRecord*>(heap);
}

}  // namespace orsin
