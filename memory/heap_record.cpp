// The making of a heap, its growth and its end.
#include "memory/heap_record.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/given_text.h"
#include "memory/movable_heap.h"

using namespace orsin;
using movable_heap::blocks_of;
using movable_heap::report_corrupted;

namespace {

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
  if (heap->base != nullptr) {
    os_free(heap->base);
  }
  delete_record(heap);
}

std::uint64_t mheap_resize(_mheap* heap, std::uint64_t size, int os_flags) {
  const std::uint64_t total_size = size - size % heap->alignment;
  if (total_size <= heap->total_size) {
    return ~std::uint64_t{0};
  }
  auto* region = static_cast<std::uint8_t*>(os_alloc(total_size, os_flags));
  if (region == nullptr) {
    // Kept on purpose: the result is the same as on success. Required; mheap_totalsize() tells.
    return total_size;
  }
  const HeapLock lock(heap);
  if (total_size <= heap->total_size) {  // Another thread was quicker.
    os_free(region);
    return ~std::uint64_t{0};
  }
  HeapBlocks blocks = blocks_of(heap);
  if (!blocks.is_sound()) {  // A walk from block to block would not end.
    os_free(region);
    report_corrupted(*heap);
    return ~std::uint64_t{0};
  }
  std::uint8_t* old_region = heap->base;
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

namespace orsin::movable_heap {

void give_back_region(_mheap* heap) {
  HeapRecord& record = record_of(heap);
  const bool is_guarded = !record.is_damaged.load();
  if (is_guarded) {
    mp_get_mutex(heap->mutex);
  }
  os_free(heap->base);
  heap->base = nullptr;
  heap->first_block = heap->end_block = nullptr;
  heap->total_size = 0;
  record.bounds.set(*heap);
  record.runs.destroy();
  if (is_guarded) {
    mp_release_mutex(heap->mutex);
  }
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

}  // namespace orsin::movable_heap
