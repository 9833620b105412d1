// What the parts of the movable heap share with each other.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/inline_mutex.h"
#include "memory/heap_blocks.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"

namespace orsin {

/// Holds a heap's mutex. The mutex is recursive and stands in a public structure, so Clang's
/// analysis does not follow it.
class HeapLock {
 public:
  explicit HeapLock(const _mheap* heap) : heap_(heap) { take_mutex(heap->mutex); }
  ~HeapLock() { release_mutex(heap_->mutex); }
  HeapLock(const HeapLock&) = delete;
  HeapLock& operator=(const HeapLock&) = delete;

  /// Lets others have the heap for a moment.
  void yield() {
    mp_release_mutex(heap_->mutex);
    mp_yield();
    mp_get_mutex(heap_->mutex);
  }

 private:
  const _mheap* heap_;  // And not its mutex: one register less to save around every lock.
};

/// The heap's name, terminated.
struct HeapName {
  explicit HeapName(const _mheap& heap) { std::memcpy(text, heap.name, sizeof heap.name); }
  char text[sizeof _mheap::name + 1] = {};
};

namespace movable_heap {

/// One attempt of mheap_alloc_lock(), without waiting. The caller holds the heap's mutex. `needed`
/// is the size of the whole block. False: no room now, or damage, which has been logged and signalled.
[[nodiscard]] bool allocate_once_locked(_mheap& heap, std::uint64_t needed, void** handle);

/// The blocks of a heap made by mheap_initialize().
[[nodiscard]] HeapBlocks blocks_of(_mheap* heap);

/// After the line about damage: the process's fatal-error handling takes over.
void raise_corrupted();

/// The line about damage in this heap, and the signal.
void report_corrupted(const _mheap& heap);

/// Whether the heap's region holds that address. Takes no lock, but waits for a resize that is under
/// way. Any thread.
[[nodiscard]] bool region_holds(_mheap* heap, const void* address);

/// Gives the region back to the system and leaves a heap without blocks, in which nothing is found and
/// nothing fits: for a heap that threads may still come to. mheap_destroy() frees the rest.
void give_back_region(_mheap* heap);

/// Goes on without the index, as a heap does that had no memory for one; for tests.
void drop_index(_mheap* heap);

}  // namespace movable_heap
}  // namespace orsin
