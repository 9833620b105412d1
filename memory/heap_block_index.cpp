// Where the blocks of a heap meet the index of its free runs.
//
// The index knows runs, the headers know blocks: a run that is marked unjoined has more than one. A
// block that a search has found is in neither state: its run has been taken out of the index, and
// claim() puts back what it cuts off.
#include <bit>

#include <xmmintrin.h>

#include "memory/heap_blocks.h"

namespace orsin {
namespace {

mheap_mblk* block_at(std::uint64_t address) {
  return reinterpret_cast<mheap_mblk*>(static_cast<std::uintptr_t>(address));
}

}  // namespace

// The first block that fits, if there is one. A walk would join every free run up to that block on
// its way: those that need it are joined here.
std::optional<Space> HeapBlocks::find_in_index(std::uint64_t needed) {
  if (!runs_.exists()) {
    return std::nullopt;
  }
  const std::uint32_t fit = runs_.first_fit(needed >> std::countr_zero(heap_.alignment));
  if (fit == FreeRuns::kNone) {
    return std::nullopt;
  }
  fetch_early(fit, needed);
  for (std::uint32_t run = runs_.first_unjoined(); run <= fit; run = runs_.first_unjoined()) {
    if (run == FreeRuns::kNone) {
      break;
    }
    if (!join_free(block_at_granule(run))) {
      return Space{SpaceResult::kCorrupted, nullptr};
    }
    runs_.mark_joined(run);
  }
  mheap_mblk* block = block_at_granule(fit);
  if (!join_free(block)) {
    return Space{SpaceResult::kCorrupted, nullptr};
  }
  runs_.remove(fit);
  return Space{SpaceResult::kFound, block};
}

// Headers lie in pages of their own, so each costs a trip to memory: the three that an allocation is
// about to touch are asked for at once. The owner's data is the third.
void HeapBlocks::fetch_early(std::uint32_t run, std::uint64_t needed) const {
  const auto fetch = [](const mheap_mblk* block, std::uint64_t offset) {
    _mm_prefetch(reinterpret_cast<const char*>(block) + offset, _MM_HINT_T0);
  };
  const mheap_mblk* block = block_at_granule(run);
  fetch(block, 0);
  fetch(block, heap_.header_size);
  fetch(block, needed);
}

std::uint32_t HeapBlocks::granule_of(const mheap_mblk* block) const {
  const std::uint64_t offset = address_of(block) - address_of(heap_.first_block);
  return static_cast<std::uint32_t>(offset >> std::countr_zero(heap_.alignment));
}

mheap_mblk* HeapBlocks::block_at_granule(std::uint32_t granule) const {
  const std::uint64_t offset = std::uint64_t{granule} << std::countr_zero(heap_.alignment);
  return block_at(address_of(heap_.first_block) + offset);
}

// Takes in the free blocks behind a block that becomes free, as join_free() does, but without a look
// at any header but the first: the others lie in pages that nobody has touched for long.
void HeapBlocks::join_run_behind(mheap_mblk* block) {
  const std::uint32_t end = runs_.end_of_run_at(granule_of(next_block(block)));
  if (end != FreeRuns::kNone) {
    block->size = address_of(block_at_granule(end)) - address_of(block);
  }
}

// A block has become free. It has taken in the free blocks behind it, which began at `behind`, unless
// one of them is damaged: then it stays in front of them, and each search that comes by says so.
void HeapBlocks::index_freed(const mheap_mblk* block, const mheap_mblk* behind) {
  if (!runs_.exists()) {
    return;
  }
  std::uint32_t begin = granule_of(block);
  std::uint32_t end = granule_of(next_block(block));
  bool is_joined = true;
  if (const std::uint32_t absorbed = granule_of(behind);
      runs_.end_of_run_at(absorbed) != FreeRuns::kNone) {
    const std::uint32_t end_behind = runs_.remove(absorbed);
    is_joined = end_behind == end;
    end = end_behind;
  }
  if (const std::uint32_t before = runs_.begin_of_run_to(begin); before != FreeRuns::kNone) {
    runs_.remove(before);
    begin = before;
    is_joined = false;
  }
  runs_.insert(begin, end);
  if (!is_joined) {
    runs_.mark_unjoined(begin);
  }
}

// The rest of a free block whose first part is used now. No run is known there any more.
void HeapBlocks::index_cut_off(const mheap_mblk* rest) {
  if (runs_.exists()) {
    runs_.insert(granule_of(rest), granule_of(next_block(rest)));
  }
}

// A free block at the end of its run is about to be used. What lies before it has just been joined.
void HeapBlocks::index_taken(const mheap_mblk* block) {
  if (!runs_.exists()) {
    return;
  }
  const std::uint32_t begin = granule_of(block);
  const std::uint32_t run = runs_.begin_of_run_to(granule_of(next_block(block)));
  runs_.remove(run);
  if (run != begin) {
    runs_.insert(run, begin);
  }
}

void HeapBlocks::index_joined_all() {
  if (runs_.exists()) {
    for (std::uint32_t run = runs_.first_unjoined(); run != FreeRuns::kNone;
         run = runs_.first_unjoined()) {
      runs_.mark_joined(run);
    }
  }
}

void HeapBlocks::rebuild_index() {
  if (!runs_.exists()) {
    return;
  }
  for (std::uint32_t run = runs_.first_fit(1); run != FreeRuns::kNone; run = runs_.first_fit(1)) {
    runs_.remove(run);
  }
  const mheap_mblk* block = heap_.first_block;
  while (block != heap_.end_block) {
    if (block->state != kBlockFree) {
      block = next_block(block);
      continue;
    }
    const mheap_mblk* first = block;
    while (block != heap_.end_block && block->state == kBlockFree) {
      block = next_block(block);
    }
    runs_.insert(granule_of(first), granule_of(block));
    if (next_block(first) != block) {
      runs_.mark_unjoined(granule_of(first));
    }
  }
}

bool HeapBlocks::index_agrees() const {
  if (!runs_.exists()) {
    return true;
  }
  std::uint32_t free_runs = 0;
  const mheap_mblk* block = heap_.first_block;
  while (block != heap_.end_block) {
    if (block->state != kBlockFree) {
      if (runs_.end_of_run_at(granule_of(block)) != FreeRuns::kNone) {
        return false;
      }
      block = next_block(block);
      continue;
    }
    const mheap_mblk* first = block;
    while (block != heap_.end_block && block->state == kBlockFree) {
      block = next_block(block);
    }
    const std::uint32_t begin = granule_of(first);
    const bool is_unjoined = next_block(first) != block;
    if (runs_.end_of_run_at(begin) != granule_of(block) ||
        runs_.begin_of_run_to(granule_of(block)) != begin ||
        runs_.is_unjoined(begin) != is_unjoined) {
      return false;
    }
    ++free_runs;
  }
  return (runs_.first_fit(1) != FreeRuns::kNone) == (free_runs > 0);
}

}  // namespace orsin
