// A heap's blocks in the log.
#include "base/given_text.h"
#include "memory/movable_heap.h"
#include "orsincore/log.h"

using namespace orsin;

namespace {

int to_kib(std::uint64_t bytes) {
  return static_cast<int>(bytes >> 10);
}

// Calls `report` for each block, in address order. A size of 0 can only be damage and ends the
// walk.
template <typename Report>
void for_each_block(const _mheap& heap, Report report) {
  for (const mheap_mblk* block = heap.first_block;
       block != nullptr && block != heap.end_block && block->size != 0; block = next_block(block)) {
    report(*block);
  }
}

void dump_block(const mheap_mblk& block) {
  const int size = to_kib(block.size);
  const auto state = static_cast<int>(block.state);
  if (block.lock_count > 0) {
    msgcont("  Locked(%2d): %8d (%2d)", static_cast<int>(block.lock_count), size, state);
  } else if (block.lockex_count > 0) {
    msgcont("  LockedEx(%2d): %8d (%2d)", static_cast<int>(block.lockex_count), size, state);
  } else if (block.state == kBlockUsed) {
    msgcont("  Used       : %8d (%2d)", size, state);
  } else {
    msgcont("  Free      : %8d (%2d)", size, state);
  }
}

struct Totals {
  std::uint64_t locked = 0;
  std::uint64_t used = 0;
  std::uint64_t free = 0;
};

void trace_block(const mheap_mblk& block, int index, const char* marker, Totals& totals) {
  const auto* address = static_cast<const void*>(&block);
  const auto* owner = static_cast<const void*>(block.owner);
  const auto state = static_cast<int>(block.state);
  const auto size = static_cast<int>(block.size);
  // Kept on purpose: a locked block has two lines and counts twice, once as locked and once as what
  // it would be without that lock.
  if (block.lock_count > 0) {
    msgcont("     %s  BLK %3d: %p -> %2d %9d 0x%p Locked %d\n", marker, index, address, state, size,
            owner, static_cast<int>(block.lock_count));
    totals.locked += block.size;
  }
  if (block.state == kBlockFree) {
    msgcont("     %s  BLK %3d: %p -> %2d %9d 0x%p Free\n", marker, index, address, state, size,
            owner);
    totals.free += block.size;
  } else if (block.lockex_count > 0) {
    msgcont("     %s  BLK %3d: %p -> %2d %9d 0x%p LockedEx %d\n", marker, index, address, state,
            size, owner, static_cast<int>(block.lockex_count));
    totals.locked += block.size;
  } else {
    msgcont("     %s  BLK %3d: %p -> %2d %9d 0x%p Used\n", marker, index, address, state, size,
            owner);
    totals.used += block.size;
  }
}

}  // namespace

void mheap_dump(_mheap* heap, const char* title) {
  const HeapLock lock(heap);
  if (msgdebug("HEAP '%s' - %s:", HeapName(*heap).text, given(title)) == 0) {
    return;
  }
  std::uint64_t total = 0;
  for_each_block(*heap, [&](const mheap_mblk& block) {
    dump_block(block);
    total += block.size;
  });
  msgcont("  Total : %8d of %d", to_kib(total), to_kib(heap->total_size));
}

void mheap_trace(_mheap* heap, const mheap_mblk* mark) {
  const HeapLock lock(heap);
  if (heap->first_block == nullptr) {
    return;
  }
  const auto* end = reinterpret_cast<const std::uint8_t*>(heap->end_block);
  // Kept on purpose: unlike the dump it does not ask whether this line was written. Required.
  msgdebug("MHeap TRACE: %d Kb (0x%p - 0x%p)\n", static_cast<int>((end - heap->base) / 1024),
           static_cast<const void*>(heap->base), static_cast<const void*>(end));
  int index = 0;
  Totals totals;
  for_each_block(*heap, [&](const mheap_mblk& block) {
    trace_block(block, index++, &block == mark ? "*" : "", totals);
  });
  msgcont("    STATUS: %d Kb Locked, %d Kb Used, %d Kb Free\n", to_kib(totals.locked),
          to_kib(totals.used), to_kib(totals.free));
}
