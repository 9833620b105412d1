// Buffers by handle: in whichever standard heap they lie, or straight from the system.
#include <optional>

#include "memory/movable_heap.h"
#include "memory/os_allocation.h"
#include "memory/standard_heaps.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"

using namespace orsin;

namespace {

bool allocate_in(MEM_HEAP_ID id, void** handle, std::uint64_t size) {
  _mheap* heap = mem_getheap(id);
  return heap != nullptr && mheap_alloc_lock(heap, size, handle) > 0;
}

// A null handle and a buffer from the system need no lock; anything else is the caller's mistake.
bool needs_no_lock(void** handle) {
  return handle == nullptr || os_allocation::is_live(*handle);
}

unsigned int reference(void** handle) {
  return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(*handle));
}

// Runs `use` under the mutex of the heap that the handle's block lies in; nothing where it has none.
//
// That mutex alone is taken, as heaps are independent: the others' may be held while a discard
// callback runs, or for good after a failed validation.
template <typename Use>
std::optional<int> in_own_heap(void** handle, Use use) {
  _mheap* heap = handle != nullptr ? standard_heaps::heap_around(handle) : nullptr;
  if (heap == nullptr) {
    return std::nullopt;
  }
  const HeapLock lock(
      heap);  // Until here another thread's allocation may be moving this very block.
  return mheap_is_valid(heap, handle) ? std::optional(use(heap, handle)) : std::nullopt;
}

int unlock_and_free(_mheap* heap, void** handle) {
  const int locks = mheap_unlock(heap, handle);
  return locks < 0 ? locks : mheap_free(heap, handle);
}

}  // namespace

void* mem_alloc_locked_buffer(void** handle, std::uint64_t size, MEM_HEAP_ID id) {
  constexpr std::uint64_t kFrameBytesMin = 0x40000;  // Smaller buffers would waste the Frame heap.
  if (handle == nullptr || id < MEM_HEAP_ANY || id > MEM_HEAP_IMAGE) {
    return nullptr;
  }
  if (id != MEM_HEAP_ANY) {
    return allocate_in(id, handle, size) ? *handle : nullptr;
  }

  const bool is_small = size < kFrameBytesMin;
  const MEM_HEAP_ID first = is_small ? MEM_HEAP_PROXY : MEM_HEAP_FRAME;
  const MEM_HEAP_ID second = is_small ? MEM_HEAP_FRAME : MEM_HEAP_PROXY;
  if (allocate_in(first, handle, size) || allocate_in(second, handle, size)) {
    return *handle;
  }
  *handle = os_alloc(size, 0);
  if (*handle == nullptr) {
    msgwarn("MEMORY: Heap allocation failed.. (Requested: %.3f)", os_allocation::to_kib(size));
  }
  return *handle;
}

int mem_free_locked_buffer(void** handle) {
  if (const auto result = in_own_heap(handle, unlock_and_free); result) {
    return *result;
  }
  if (handle == nullptr || *handle == nullptr || !os_free(*handle)) {
    return -1;
  }
  *handle = nullptr;
  return 0;
}

int mem_lock_buffer(void** handle) {
  if (const auto locks = in_own_heap(handle, mheap_lock); locks) {
    return *locks;
  }
  if (needs_no_lock(handle)) {
    return 0;
  }
  msgdebug("MEMORY: Lock memory, bad reference: %x", reference(handle));
  return -1;
}

int mem_keep_buffer(void** handle) {
  if (const auto locks = in_own_heap(handle, mheap_keep); locks) {
    return *locks;
  }
  if (needs_no_lock(handle)) {
    return 0;
  }
  msgdebug("MEMORY: Keep memory, bad reference: %x", reference(handle));
  return -1;
}

int mem_unlock_buffer(void** handle) {
  if (const auto locks = in_own_heap(handle, mheap_unlock); locks) {
    return *locks;
  }
  if (needs_no_lock(handle)) {
    return 0;
  }
  msgdebug("MEMORY: Unlock memory, bad reference: %x", reference(handle));
  return -1;
}

int mem_free_buffer(void** handle) {
  if (const auto result = in_own_heap(handle, mheap_free); result) {
    return *result;
  }
  if (handle == nullptr || *handle == nullptr) {
    return -1;
  }
  // Kept on purpose: the handle is cleared and 0 returned whatever os_free() thinks of the address;
  // it has written its line, and the owner has nothing left to do.
  os_free(*handle);
  *handle = nullptr;
  return 0;
}

void mem_set_discard_callback(void* data, mheap_discard_callback callback) {
  if (_mheap* heap = mem_getheap(MEM_HEAP_FRAME); heap != nullptr) {
    mheap_set_discard_callback(heap, data, callback);
  }
}
