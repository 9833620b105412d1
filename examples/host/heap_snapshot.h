// What a standard heap looked like at one moment: its blocks in address order and what they add up
// to.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orsincore/memory.h"

namespace host {

constexpr MEM_HEAP_ID kHeaps[] = {MEM_HEAP_FRAME, MEM_HEAP_PROXY, MEM_HEAP_AUDIO, MEM_HEAP_IMAGE};

enum class BlockState {
  kFree,
  kUsed,      // Its owner has unlocked it: it may be moved or discarded.
  kLocked,    // By its owner.
  kExLocked,  // Only by an address inside it.
};
constexpr BlockState kBlockStates[] = {BlockState::kUsed, BlockState::kLocked,
                                       BlockState::kExLocked, BlockState::kFree};

/// "used", "locked", "ex-locked", "free".
const char* name_of(BlockState state);

struct Block {
  std::uint64_t offset;  // In the heap; this and all sizes in bytes, headers included.
  std::uint64_t size;
  BlockState state;
  bool operator==(const Block&) const = default;
};

struct HeapSnapshot {
  std::string name;
  std::uint64_t size = 0;
  std::uint64_t granule = 0;  // What block sizes are multiples of.
  bool moves_first = false;   // Before it discards.
  std::vector<Block> blocks;  // Free neighbours count as one.

  [[nodiscard]] std::uint64_t total(BlockState state) const;
  [[nodiscard]] std::uint64_t largest_gap() const;
  bool operator==(const HeapSnapshot&) const = default;
};

/// A stretch of a heap without a locked block: its free bytes, and those that could be freed.
struct Stretch {
  std::uint64_t free = 0;
  std::uint64_t used = 0;
};

/// The stretches with the most free bytes, and with the most bytes in all.
Stretch stretch_with_most_free(const HeapSnapshot& heap);
Stretch longest_stretch(const HeapSnapshot& heap);

/// Reads the headers of a heap's blocks. No other thread may be using the heap.
HeapSnapshot take_snapshot(MEM_HEAP_ID id);

}  // namespace host
