// What owners do with the blocks of a heap: allocating with its waits, locking, freeing.
//
// The heap's mutex guards everything in it; it is taken before the allocation table's and the log's.
// The condition belongs to it: allocations without room wait there, and each mheap_unlock() wakes one
// waiter. Both are public, so that may be a thread of the host. Discard callbacks run with the mutex
// held. The heap's making, growth and end: heap_record.cpp; all blocks at once: whole_heap.cpp.
#include "memory/movable_heap.h"

#include <csignal>

#include "memory/heap_record.h"
#include "orsincore/log.h"

using namespace orsin;
using movable_heap::blocks_of;
using movable_heap::report_corrupted;

namespace {

void release_locked(_mheap* heap, mheap_mblk* block) {
  if (!blocks_of(heap).release(block)) {
    report_corrupted(*heap);
  }
}

}  // namespace

namespace orsin::movable_heap {

HeapBlocks blocks_of(_mheap* heap) {
  return {*heap, record_of(heap).runs};
}

void raise_corrupted() {
  std::raise(SIGSEGV);
}

void report_corrupted(const _mheap& heap) {
  msgerror("HEAP '%s' CORRUPTED: Illegal (0 size) block detected...", HeapName(heap).text);
  raise_corrupted();
}

namespace {

// Looks for room, and says in the log what stands in the way.
Space search_locked(_mheap& heap, std::uint64_t needed, bool may_compact) {
  const Space space = blocks_of(&heap).find_space(needed, may_compact);
  if (space.result == SpaceResult::kAllLocked) {
    mheap_dump(&heap, "TOTALLY LOCKED !!");
  } else if (space.result == SpaceResult::kCorrupted) {
    report_corrupted(heap);
  }
  return space;
}

}  // namespace

bool allocate_once_locked(_mheap& heap, std::uint64_t needed, void** handle) {
  Space space = search_locked(heap, needed, heap.mode != MHEAP_DISCARD);
  if (space.block == nullptr && heap.mode == MHEAP_DISCARD) {
    space = search_locked(heap, needed, true);
  }
  if (space.block == nullptr) {
    return false;
  }
  blocks_of(&heap).claim(space.block, needed, handle);
  return true;
}

}  // namespace orsin::movable_heap

int mheap_alloc_lock(_mheap* heap, std::uint64_t size, void** handle) {
  constexpr int kWaitsMax = 10;
  constexpr long long kWaitNs = 100000000;
  if (size == 0) {
    msgerror("MHeap: Illegal size (%d) requested..", static_cast<int>(size));
    return -1;
  }
  if (heap->first_block == nullptr) {
    return -1;
  }

  HeapLock lock(heap);
  const std::uint64_t needed = heap_block_size(*heap, size);
  for (int waits = 0; waits < kWaitsMax;) {
    if (heap->first_block == nullptr) {
      return -1;  // The region was given back meanwhile.
    }
    if (movable_heap::allocate_once_locked(*heap, needed, handle)) {
      return 1;
    }
    if (heap->mode != MHEAP_DISCARD) {
      // Kept on purpose: such a heap never waits and never gives up. Required; blocks that other
      // threads free let it go on.
      lock.yield();
      continue;
    }
    msgwarn("Waiting for free space in %s heap: %llu (%d)", HeapName(*heap).text,
            static_cast<unsigned long long>(needed), waits);
    if (mp_cond_timedwait(heap->cond, heap->mutex, kWaitNs) == 0) {
      msgwarn("Timeout while waiting for free space in %s heap", HeapName(*heap).text);
    }
    ++waits;
  }
  return -1;
}

namespace {

// The block that a handle owns, now the most recently used one. Null, after a debug line unless the
// handle is empty, when it owns none in this heap.
mheap_mblk* use_block_locked(_mheap* heap, void** handle) {
  if (*handle == nullptr) {
    return nullptr;
  }
  HeapBlocks blocks = blocks_of(heap);
  mheap_mblk* block = blocks.block_of(*handle);
  if (block == nullptr) {
    msgdebug("Illegal mheap pointer: %p\n", *handle);
    return nullptr;
  }
  blocks.stamp(*block);
  return block;
}

}  // namespace

int mheap_lock(_mheap* heap, void** handle) {
  const HeapLock lock(heap);
  mheap_mblk* block = use_block_locked(heap, handle);
  return block != nullptr ? static_cast<int>(++block->lock_count) : -1;
}

int mheap_keep(_mheap* heap, void** handle) {
  const HeapLock lock(heap);
  mheap_mblk* block = use_block_locked(heap, handle);
  return block != nullptr ? static_cast<int>(block->lock_count) : -1;
}

int mheap_unlock(_mheap* heap, void** handle) {
  {
    const HeapLock lock(heap);
    HeapBlocks blocks = blocks_of(heap);
    mheap_mblk* block = blocks.block_of(*handle);
    if (block == nullptr) {
      msgdebug("Illegal MHeap pointer: %p\n", *handle);
      return -1;
    }
    if (block->lock_count > 0) {
      const std::uint32_t left = --block->lock_count;
      blocks.stamp(*block);
      mp_cond_signal(heap->cond);
      return static_cast<int>(left);
    }
  }
  msgdebug("MHeap: Unlocking a non locked block");
  return 0;
}

int mheap_free(_mheap* heap, void** handle) {
  const HeapLock lock(heap);
  if (*handle == nullptr) {
    return -1;
  }
  HeapBlocks blocks = blocks_of(heap);
  mheap_mblk* block = blocks.block_of(*handle);
  if (block == nullptr) {
    msgdebug("MHeap: Illegal pointer: %p\n", *handle);
    return -1;
  }
  if (block->owner != handle) {
    msgdebug("MHeap: Illegal pointer owner (%p,%p): %p\n", static_cast<void*>(block),
             static_cast<void*>(block->owner), static_cast<void*>(handle));
    return -1;
  }
  if (block->lock_count > 0) {
    msgdebug("MHeap: Attempt to free locked block: %p\n", *handle);
    return -1;
  }
  if (block->lockex_count == 0) {
    // Kept on purpose: nobody is woken. Required; an allocation that waits finds what was freed
    // when its 100 ms are over.
    release_locked(heap, block);
    return 1;
  }
  // Somebody without a handle still uses the data: the owner is rid of it, the block stays.
  block->flags |= kFreePending;
  block->owner = nullptr;
  set_pointer(handle, nullptr);
  return 1;
}

void* mheap_lock_ex(_mheap* heap, const void* address) {
  const HeapLock lock(heap);
  mheap_mblk* block = blocks_of(heap).block_around(address);
  if (block == nullptr) {
    return nullptr;
  }
  ++block->lockex_count;
  return reinterpret_cast<std::uint8_t*>(block) + heap->header_size;
}

int mheap_unlock_ex(_mheap* heap, void* data) {
  if (heap == nullptr) {
    return 0;
  }
  const HeapLock lock(heap);
  HeapBlocks blocks = blocks_of(heap);
  mheap_mblk* block = blocks.inner_block_of(data);
  if (block == nullptr || block->data != data || block->lockex_count == 0) {
    return 0;
  }
  --block->lockex_count;
  // Kept on purpose: the first ex-unlock after a pending free releases the block, whatever other ex
  // locks are left. Required.
  if ((block->flags & kFreePending) != 0) {
    release_locked(heap, block);
  }
  return 1;
}

int mheap_set_discard_callback(_mheap* heap, void* data, mheap_discard_callback callback) {
  const HeapLock lock(heap);
  mheap_mblk* block = blocks_of(heap).inner_block_of(data);
  if (block == nullptr) {
    return 0;
  }
  block->discard_callback = callback;
  return 1;
}

bool mheap_is_valid(_mheap* heap, void** handle) {
  if (heap == nullptr || handle == nullptr) {
    return false;
  }
  const mheap_mblk* block = blocks_of(heap).inner_block_of(get_pointer(handle));
  return block != nullptr && block->owner == handle;
}
