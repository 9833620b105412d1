// All blocks of a heap at once: their space, their clearing, their check.
//
// Questions take no lock, as their answers are old in any case; whatever changes blocks takes the
// heap's mutex.
#include "memory/heap_record.h"
#include "memory/movable_heap.h"
#include "orsincore/log.h"

using namespace orsin;
using movable_heap::blocks_of;

std::uint64_t mheap_queryspace(_mheap* heap, std::uint64_t& free, std::uint64_t& freeable) {
  free = 0;
  freeable = 0;
  // A thread that joins blocks meanwhile can show a size of 0: the sums are estimates anyway.
  for (const mheap_mblk* block = heap->first_block; block != heap->end_block && block->size != 0;
       block = next_block(block)) {
    if (block->state == kBlockFree) {
      free += block->size;
    } else if (!is_locked(*block)) {
      freeable += block->size;
    }
  }
  freeable += free;
  return heap->total_size;
}

std::uint64_t mheap_totalsize(_mheap* heap) {
  return heap->total_size;
}

void* mheap_heapbase(_mheap* heap) {
  return heap->base;
}

std::uint64_t mheap_prefetch_all(_mheap* heap) {
  const auto page = static_cast<std::uint64_t>(mem_pagesize());
  const volatile std::uint8_t* byte = heap->base;  // Each read must happen: that is the point.
  std::uint64_t sum = 0;
  for (std::uint64_t left = heap->total_size; left > page; left -= page) {
    sum += *byte;
    byte += page;
  }
  return sum;
}

int mheap_clearall(_mheap* heap) {
  if (heap->first_block == nullptr) {
    return -1;
  }
  const HeapLock lock(heap);
  if (!blocks_of(heap).discard_all()) {
    msgerror("HEAP CORRUPTED: Illegal (0 size) block detected...");
    movable_heap::raise_corrupted();
  }
  return 0;
}

int mheap_validate(_mheap* heap) {
  if (heap->first_block == nullptr) {
    return -1;
  }
  mp_get_mutex(heap->mutex);
  const HeapBlocks::Check check = blocks_of(heap).check();
  if (check == HeapBlocks::Check::kSound) {
    mp_release_mutex(heap->mutex);
    return 0;
  }
  if (check == HeapBlocks::Check::kEmptyMerge) {
    msgerror("HEAP CORRUPTED: Illegal (0 size) block detected...");
  }
  // Kept on purpose: the mutex stays held. Required; nobody builds on a damaged heap, threads that
  // try stand still.
  record_of(heap).is_damaged.store(true);
  return -1;
}
