#include "examples/host/heap_snapshot.h"

#include <algorithm>

namespace host {
namespace {

BlockState state_of(const mheap_mblk& block) {
  if (block.state == 0) {
    return BlockState::kFree;
  }
  if (block.lock_count > 0) {
    return BlockState::kLocked;
  }
  return block.lockex_count > 0 ? BlockState::kExLocked : BlockState::kUsed;
}

std::vector<Stretch> stretches_of(const HeapSnapshot& heap) {
  std::vector<Stretch> stretches(1);
  for (const Block& block : heap.blocks) {
    if (block.state == BlockState::kFree) {
      stretches.back().free += block.size;
    } else if (block.state == BlockState::kUsed) {
      stretches.back().used += block.size;
    } else {
      stretches.emplace_back();
    }
  }
  return stretches;
}

}  // namespace

const char* name_of(BlockState state) {
  switch (state) {
    case BlockState::kFree:
      return "free";
    case BlockState::kUsed:
      return "used";
    case BlockState::kLocked:
      return "locked";
    case BlockState::kExLocked:
      return "ex-locked";
  }
  return "";
}

std::uint64_t HeapSnapshot::total(BlockState state) const {
  std::uint64_t sum = 0;
  for (const Block& block : blocks) {
    sum += block.state == state ? block.size : 0;
  }
  return sum;
}

std::uint64_t HeapSnapshot::largest_gap() const {
  std::uint64_t largest = 0;
  for (const Block& block : blocks) {
    if (block.state == BlockState::kFree) {
      largest = std::max(largest, block.size);
    }
  }
  return largest;
}

Stretch stretch_with_most_free(const HeapSnapshot& heap) {
  const std::vector<Stretch> stretches = stretches_of(heap);
  return *std::max_element(stretches.begin(), stretches.end(),
                           [](const Stretch& a, const Stretch& b) { return a.free < b.free; });
}

Stretch longest_stretch(const HeapSnapshot& heap) {
  const std::vector<Stretch> stretches = stretches_of(heap);
  return *std::max_element(
      stretches.begin(), stretches.end(),
      [](const Stretch& a, const Stretch& b) { return a.free + a.used < b.free + b.used; });
}

HeapSnapshot take_snapshot(MEM_HEAP_ID id) {
  HeapSnapshot snapshot;
  const _mheap* heap = mem_getheap(id);
  if (heap == nullptr) {
    return snapshot;
  }
  snapshot.name.assign(heap->name, std::find(heap->name, heap->name + sizeof heap->name, '\0'));
  snapshot.size = heap->total_size;
  snapshot.granule = heap->alignment;
  snapshot.moves_first = heap->mode == MHEAP_COMPACT;

  // The blocks lie one behind the other, up to the end block.
  const auto* address = reinterpret_cast<const std::uint8_t*>(heap->first_block);
  const auto* end = reinterpret_cast<const std::uint8_t*>(heap->end_block);
  while (address < end) {
    const auto& block = *reinterpret_cast<const mheap_mblk*>(address);
    const BlockState state = state_of(block);
    const bool follows_free = !snapshot.blocks.empty() &&
                              snapshot.blocks.back().state == BlockState::kFree &&
                              state == BlockState::kFree;
    if (follows_free) {
      snapshot.blocks.back().size += block.size;
    } else {
      const auto offset = static_cast<std::uint64_t>(address - heap->base);
      snapshot.blocks.push_back({offset, block.size, state});
    }
    address += block.size;
  }
  return snapshot;
}

}  // namespace host
