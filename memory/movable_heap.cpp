// The heap around the blocks: its mutex, its waiting, its log lines.
//
// `mutex` guards everything in the heap; it is taken before the allocation table's and the log's.
// `cond` belongs to it: allocations without room wait there, and each mheap_unlock() wakes one waiter.
// Both are public, so the waiter may be a thread of the host; nobody counts them here.
// Discard callbacks run with the mutex held.
#include "memory/movable_heap.h"

#include <atomic>
#include <bit>
#include <csignal>
#include <cstdlib>
#include <new>

#include "base/given_text.h"
#include "orsincore/log.h"

using namespace orsin;
using movable_heap::blocks_of;

namespace {

// Where the region lies, for readers that do not hold the mutex. While `changes` is odd the region is
// being replaced, and owners' variables point into the old one or the new one.
struct RegionBounds {
  std::atomic<std::uint32_t> changes;
  std::atomic<std::uint64_t> begin;
  std::atomic<std::uint64_t> bytes;

  void set(const _mheap& heap) {
    begin.store(address_of(heap.base), std::memory_order_release);
    bytes.store(heap.total_size, std::memory_order_release);
  }
};

// One allocation with the record: the public structure first.
struct HeapRecord {
  _mheap heap;
  FreeRuns runs;
  RegionBounds bounds;
};

HeapRecord& record_of(_mheap* heap) {
  return *reinterpret_cast<HeapRecord*>(heap);
}

// The process's fatal-error handling takes over from here.
void raise_corrupted() {
  std::raise(SIGSEGV);
}

void report_corrupted(const _mheap& heap) {
  msgerror("HEAP '%s' CORRUPTED: Illegal (0 size) block detected...", HeapName(heap).text);
  raise_corrupted();
}

void release_locked(_mheap* heap, mheap_mblk* block) {
  if (!blocks_of(heap).release(block)) {
    report_corrupted(*heap);
  }
}

std::uint64_t block_granules_min(const _mheap& heap) {
  return heap.header_size / heap.alignment + 1;
}

// A heap that gets no index walks; so does one whose granules would cost a division each time.
void create_index(_mheap* heap, std::uint64_t run_distance_min) {
  if (!std::has_single_bit(heap->alignment)) {
    return;
  }
  record_of(heap).runs.create(heap->total_size / heap->alignment, run_distance_min);
}

void delete_record(_mheap* heap) {
  record_of(heap).runs.destroy();
  if (heap->cond != nullptr) {
    mp_delete_cond_block(heap->cond);
  }
  if (heap->mutex != nullptr) {
    mp_delete_mutex(heap->mutex);
  }
  std::free(&record_of(heap));
}

}  // namespace

_mheap* mheap_initialize(const char* name, std::uint64_t size, int alignment, mheap_mode mode,
                         int os_flags) {
  if (alignment <= 0) {
    return nullptr;
  }
  void* memory = std::malloc(sizeof(HeapRecord));
  if (memory == nullptr) {
    return nullptr;
  }
  auto* record = ::new (memory) HeapRecord{};
  _mheap* heap = &record->heap;
  std::strncpy(heap->name, given(name), sizeof heap->name);
  heap->mode = mode;
  heap->alignment = static_cast<std::uint64_t>(static_cast<std::int64_t>(alignment));
  heap->header_size = heap_header_size(heap->alignment);
  heap->total_size = size - size % heap->alignment;

  heap->mutex = mp_new_mutex(0, 0);
  heap->cond = mp_new_cond_block();
  const bool is_possible =
      heap->total_size >= heap->header_size && heap->mutex != nullptr && heap->cond != nullptr;
  heap->base =
      is_possible ? static_cast<std::uint8_t*>(os_alloc(heap->total_size, os_flags)) : nullptr;
  if (heap->base == nullptr) {
    delete_record(heap);
    return nullptr;
  }
  record->bounds.set(*heap);
  create_index(heap, 2 * block_granules_min(*heap));  // A used and a free block lie between.
  blocks_of(heap).lay_out();
  return heap;
}

void mheap_destroy(_mheap* heap) {
  if (heap == nullptr) {
    return;
  }
  os_free(heap->base);
  delete_record(heap);
}

namespace orsin::movable_heap {

HeapBlocks blocks_of(_mheap* heap) {
  return {*heap, record_of(heap).runs};
}

void drop_index(_mheap* heap) {
  record_of(heap).runs.destroy();
}

bool region_holds(_mheap* heap, const void* address) {
  const RegionBounds& bounds = record_of(heap).bounds;
  // Each turn waits for a resize that is under way, or comes right after one.
  for (;;) {
    const std::uint32_t changes = bounds.changes.load(std::memory_order_acquire);
    if (changes % 2 != 0) {
      const HeapLock until_it_ends(heap);
      continue;
    }
    const std::uint64_t begin = bounds.begin.load(std::memory_order_acquire);
    const std::uint64_t bytes = bounds.bytes.load(std::memory_order_acquire);
    if (bounds.changes.load(std::memory_order_relaxed) == changes) {
      return address_of(address) - begin < bytes;
    }
  }
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
    if (movable_heap::allocate_once_locked(*heap, needed, handle)) {
      return 1;
    }
    if (heap->mode != MHEAP_DISCARD) {
      // Kept on purpose: such a heap never waits and never gives up. Its users free blocks on other
      // threads, and would rather have the allocation late than not at all.
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
  // locks are left. Holders of raw pointers take turns; the one who is done last has freed it.
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

std::uint64_t mheap_resize(_mheap* heap, std::uint64_t size, int os_flags) {
  const std::uint64_t total_size = size - size % heap->alignment;
  if (total_size <= heap->total_size) {
    return ~std::uint64_t{0};
  }
  auto* region = static_cast<std::uint8_t*>(os_alloc(total_size, os_flags));
  if (region == nullptr) {
    // Kept on purpose: the result is the same as on success. Callers treat growing as a wish and go
    // by mheap_totalsize().
    return total_size;
  }
  const HeapLock lock(heap);
  if (total_size <= heap->total_size) {  // Another thread was quicker.
    os_free(region);
    return ~std::uint64_t{0};
  }
  std::uint8_t* old_region = heap->base;
  HeapBlocks blocks = blocks_of(heap);
  RegionBounds& bounds = record_of(heap).bounds;
  bounds.changes.fetch_add(1, std::memory_order_relaxed);
  blocks.move_to(region, total_size);
  bounds.set(*heap);
  bounds.changes.fetch_add(1, std::memory_order_release);
  if (FreeRuns& runs = record_of(heap).runs; runs.exists()) {
    runs.destroy();
    create_index(heap, block_granules_min(*heap) + 1);  // The block that was added may be tiny.
    blocks.rebuild_index();
  }
  os_free(old_region);
  return total_size;
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
    raise_corrupted();
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
  // Kept on purpose: the mutex stays held. Nobody shall build on a damaged heap; threads that try
  // stand still, where a debugger finds them.
  return -1;
}
