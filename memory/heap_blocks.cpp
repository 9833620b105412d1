// First fit, freeing, moving and validation of a heap's blocks; see the header for the layout.
#include "memory/heap_blocks.h"

#include <bit>
#include <cstring>
#include <limits>

namespace orsin {
namespace {

mheap_mblk* block_at(std::uint64_t address) {
  return reinterpret_cast<mheap_mblk*>(static_cast<std::uintptr_t>(address));
}

void write_free_header(mheap_mblk* block, std::uint64_t size) {
  *block = {};
  block->size = size;
}

// Throws the contents away; the block stays where it is, free.
void empty_block(mheap_mblk& block) {
  if (const mheap_discard_callback callback = block.discard_callback; callback != nullptr) {
    callback(block.data);
    block.discard_callback = nullptr;
  }
  if (block.owner != nullptr) {
    set_pointer(block.owner, nullptr);
  }
  block.owner = nullptr;
  block.data = nullptr;
  block.state = kBlockFree;
  block.flags = 0;
}

}  // namespace

// A stretch of unlocked blocks: what moving them together would give.
struct HeapBlocks::Run {
  mheap_mblk* start = nullptr;  // Its first free block.
  std::uint64_t free = 0;
  std::uint64_t used = 0;  // Bytes that stand before there is room enough.
};

// What one walk over the blocks found.
struct HeapBlocks::Survey {
  mheap_mblk* fit = nullptr;     // The first free block that is large enough; it ended the walk.
  mheap_mblk* victim = nullptr;  // The least recently used of the unlocked used blocks.
  std::uint64_t movable = 0;     // Bytes of all unlocked blocks, free ones included.
  Run best;                      // The run that gives room for the least moving.
  bool is_corrupted = false;

  void count(mheap_mblk* block, std::uint64_t needed, Run& run) {
    movable += block->size;
    if (block->state == kBlockFree) {
      if (run.start == nullptr) {
        run.start = block;
      }
      run.free += block->size;
      return;
    }
    if (run.free < needed) {
      run.used += block->size;
    }
    if (victim == nullptr || block->last_use < victim->last_use) {
      victim = block;
    }
  }

  void finish(Run& run, std::uint64_t needed) {
    if (needed < run.free && (best.start == nullptr || run.used < best.used)) {
      best = run;
    }
    run = {};
  }
};

std::uint64_t heap_block_size(const _mheap& heap, std::uint64_t size) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  if (size > kMax - heap.header_size - heap.alignment) {
    return kMax - kMax % heap.alignment;
  }
  const std::uint64_t bytes = size + heap.header_size + heap.alignment - 1;
  const bool is_power_of_two = std::has_single_bit(heap.alignment);  // Nearly always: no division.
  return bytes - (is_power_of_two ? bytes & (heap.alignment - 1) : bytes % heap.alignment);
}

void HeapBlocks::lay_out() {
  heap_.first_block = block_at(address_of(heap_.base));
  add_last_block(heap_.first_block, heap_.total_size - heap_.header_size);
  rebuild_index();
}

// The last block of the heap, free, and the end behind it. Room for less than a header's fields
// cannot be a block: the end stands in its place.
void HeapBlocks::add_last_block(mheap_mblk* block, std::uint64_t room) {
  const std::uint64_t size = room < sizeof(mheap_mblk) ? 0 : room;
  write_free_header(block, size);
  heap_.end_block = block_at(address_of(block) + size);
  write_free_header(heap_.end_block, 0);
}

Space HeapBlocks::find_space(std::uint64_t needed, bool may_compact) {
  // Every turn but the last discards a block, so the loop ends.
  for (;;) {
    if (const auto space = find_in_index(needed); space) {
      return *space;
    }
    Survey found = survey(needed);
    if (found.is_corrupted) {
      return {SpaceResult::kCorrupted, nullptr};
    }
    if (found.fit != nullptr) {
      return {SpaceResult::kFound, found.fit};
    }
    if (needed > found.movable) {
      const bool is_too_large = needed > heap_.total_size - heap_.header_size;
      return {is_too_large ? SpaceResult::kTooLarge : SpaceResult::kAllLocked, nullptr};
    }

    if (may_compact && found.best.start != nullptr) {
      return compact(found.best.start, needed);
    }
    if (found.victim == nullptr) {
      return {SpaceResult::kFragmented, nullptr};
    }
    if (!release(found.victim)) {
      return {SpaceResult::kCorrupted, nullptr};
    }
    if (found.victim->size >= needed) {
      index_taken(found.victim);
      return {SpaceResult::kFound, found.victim};
    }
  }
}

HeapBlocks::Survey HeapBlocks::survey(std::uint64_t needed) {
  Survey found;
  Run run;
  for (mheap_mblk* block = heap_.first_block; block != heap_.end_block; block = next_block(block)) {
    if (block->size == 0 || (block->state == kBlockFree && !join_free(block))) {
      found.is_corrupted = true;
      return found;
    }
    if (block->state == kBlockFree && block->size >= needed) {
      found.fit = block;  // Only without an index.
      return found;
    }
    if (is_locked(*block)) {
      found.finish(run, needed);
    } else {
      found.count(block, needed, run);
    }
  }
  found.finish(run, needed);
  index_joined_all();
  return found;
}

// Slides used blocks down over the gap in front of them until the gap is large enough. A survey has found the
// gap at the beginning of a run that gives room.
Space HeapBlocks::compact(mheap_mblk* gap, std::uint64_t needed) {
  while (gap->size < needed) {
    mheap_mblk* next = next_block(gap);
    if (next == heap_.end_block || next->state == kBlockFree || is_locked(*next)) {
      return {SpaceResult::kFragmented, nullptr};
    }
    index_taken(gap);
    gap = slide_down(gap, next);
    const mheap_mblk* behind = next_block(gap);
    const bool is_sound = join_free(gap);
    index_freed(gap, behind);
    if (!is_sound) {
      return {SpaceResult::kCorrupted, nullptr};
    }
  }
  index_taken(gap);
  return {SpaceResult::kFound, gap};
}

// Moves a block down by the size of the gap in front of it; the gap comes out behind it.
mheap_mblk* HeapBlocks::slide_down(mheap_mblk* gap, mheap_mblk* block) {
  const std::uint64_t gap_size = gap->size;
  const std::uint64_t block_size = block->size;
  mheap_mblk* moved = gap;
  std::memmove(static_cast<void*>(moved), block, block_size);
  if (moved->owner != nullptr) {
    set_pointer(moved->owner, static_cast<std::uint8_t*>(*moved->owner) - gap_size);
  }
  moved->data = reinterpret_cast<std::uint8_t*>(moved) + heap_.header_size;

  mheap_mblk* freed = next_block(moved);
  if (gap_size > block_size) {
    // The old header stays in the gap; block_around() must never take it for a block.
    block->data = nullptr;
  }
  write_free_header(freed, gap_size);
  return freed;
}

void HeapBlocks::claim(mheap_mblk* block, std::uint64_t needed, void** owner) {
  // A rest that could hold nothing but a header stays inside the block.
  if (block->size > heap_.header_size + needed) {
    const std::uint64_t rest = block->size - needed;
    block->size = needed;
    write_free_header(next_block(block), rest);
    index_cut_off(next_block(block));
  }
  block->state = kBlockUsed;
  block->owner = owner;
  block->lockex_count = 0;
  block->data = reinterpret_cast<std::uint8_t*>(block) + heap_.header_size;
  stamp(*block);  // The allocation is one use,
  set_pointer(owner, block->data);
  block->lock_count = 1;
  stamp(*block);  // its first lock another.
}

bool HeapBlocks::release(mheap_mblk* block) {
  empty_block(*block);
  const mheap_mblk* behind = next_block(block);
  // A free neighbour is damaged by a write beyond this block's end: one look before it is trusted.
  bool is_sound = behind == heap_.end_block || behind->size != 0;
  if (is_sound && runs_.exists()) {
    join_run_behind(block);
  } else if (is_sound) {
    is_sound = join_free(block);
  }
  index_freed(block, behind);
  return is_sound;
}

// Takes in the free blocks that follow. False: the block after them has size 0.
bool HeapBlocks::join_free(mheap_mblk* block) {
  for (mheap_mblk* next = next_block(block); next != heap_.end_block; next = next_block(block)) {
    if (next->size == 0) {
      return false;
    }
    if (next->state != kBlockFree) {
      break;
    }
    block->size += next->size;
  }
  return true;
}

bool HeapBlocks::discard_all() {
  mheap_mblk* joined = nullptr;
  for (mheap_mblk* block = heap_.first_block; block != heap_.end_block;) {
    if (block->size == 0) {
      return false;
    }
    mheap_mblk* next = next_block(block);
    if (is_locked(*block)) {
      joined = nullptr;
    } else {
      if (block->state == kBlockUsed) {
        empty_block(*block);
      }
      if (joined == nullptr) {
        joined = block;
      } else if ((joined->size += block->size) == 0) {
        return false;
      }
    }
    block = next;
  }
  rebuild_index();
  return true;
}

HeapBlocks::Check HeapBlocks::check() {
  mheap_mblk* joined = nullptr;
  for (mheap_mblk* block = heap_.first_block; block != heap_.end_block;) {
    if (block->size == 0) {
      return Check::kEmptyBlock;
    }
    mheap_mblk* next = next_block(block);
    if (block->state != kBlockFree || is_locked(*block)) {
      joined = nullptr;
    } else if (joined == nullptr) {
      joined = block;
    } else if ((joined->size += block->size) == 0) {
      return Check::kEmptyMerge;
    }
    block = next;
  }
  rebuild_index();
  return Check::kSound;
}

bool HeapBlocks::is_sound() const {
  const mheap_mblk* block = heap_.first_block;
  while (block != heap_.end_block && block->size != 0) {
    block = next_block(block);
  }
  return block == heap_.end_block;
}

void HeapBlocks::move_to(std::uint8_t* region, std::uint64_t total_size) {
  const std::uint64_t old_total = heap_.total_size;
  const std::uint64_t end_offset = address_of(heap_.end_block) - address_of(heap_.base);
  mheap_mblk* const old_end = heap_.end_block;
  std::memcpy(region, heap_.base, old_total);
  heap_.base = region;
  heap_.first_block = block_at(address_of(region));
  heap_.total_size = total_size;

  // Kept on purpose: the stop address is the end in the old region, which a walk in the new one
  // never meets; it ends at the copy of the end block. A block whose free is pending has no owner
  // any more and keeps its old data address: no ex-unlock will find it.
  mheap_mblk* const copied_end = block_at(address_of(region) + end_offset);
  for (mheap_mblk* block = heap_.first_block; block != old_end && block != copied_end;
       block = next_block(block)) {
    if (block->owner != nullptr) {
      block->data = reinterpret_cast<std::uint8_t*>(block) + heap_.header_size;
      set_pointer(block->owner, block->data);
    }
  }

  // Kept on purpose: one header's worth of the new space is given up. A heap that grows by less
  // than a header keeps its end where it was.
  const std::uint64_t grown = total_size - old_total;
  add_last_block(copied_end, grown > heap_.header_size ? grown - heap_.header_size : 0);
}

mheap_mblk* HeapBlocks::block_around(const void* address) const {
  constexpr int kPositionsTried = 8;
  const std::uint64_t target = address_of(address);
  const std::uint64_t base = address_of(heap_.base);
  if (target <= base || target >= address_of(heap_.end_block)) {
    return nullptr;
  }

  // Most addresses lie close behind the beginning of their block's data.
  std::uint64_t data = target - target % heap_.alignment;
  for (int tried = 0; tried < kPositionsTried && data > base; ++tried) {
    mheap_mblk* block = block_of(reinterpret_cast<const void*>(data));
    if (block != nullptr && block->state != kBlockFree && address_of(block->data) == data) {
      return block;
    }
    data -= heap_.alignment;
  }

  // Kept on purpose: nothing asks whether the block is used, so a free one is given out too.
  mheap_mblk* block = heap_.first_block;
  while (block->size != 0 && address_of(next_block(block)) <= target) {
    block = next_block(block);
  }
  return block->size != 0 ? block : nullptr;
}

}  // namespace orsin
