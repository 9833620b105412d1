// The blocks of a movable-block heap: where they lie, which one is given out, what moves or goes.
//
// Blocks tile the region from first_block to end_block without a gap; a walk steps by block size
// and stops at end_block, which is an empty header that no walk ever steps onto:
//
//   base                                                     base + total_size
//   | header | data ... | header | data ... |  ...  | end_block |
//
// Free neighbours are joined late: a block that is released takes in the free blocks behind it, the
// search takes in what it meets on its way. So a free block may follow a free block for a while.
//
// Where an index of the free runs exists (free_runs.h), it answers the search for the first block
// that fits, joins included, exactly as the walk would; without one the walk does. Only a search that
// finds nothing walks in any case.
//
// A block of size 0 is damage: somebody wrote zeros beyond the end of the block before it. Whoever
// steps onto one says so and joins nothing.
//
// No lock, no log, no waiting: the heap around the blocks (movable_heap.cpp) has them. Only owners'
// pointer variables and discard callbacks are touched here, because they must change in the same
// breath as the blocks.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "memory/free_runs.h"
#include "orsincore/memory.h"

namespace orsin {

constexpr std::uint64_t kBlockFree = 0;
constexpr std::uint64_t kBlockUsed = 1;
constexpr std::uint32_t kFreePending = 1;  // In mheap_mblk::flags.

/// Bytes in front of each block's data.
///
/// Kept on purpose: an alignment below 64 adds a whole unit even where 64 is a multiple of it
/// already. The layout of every heap follows from this figure.
[[nodiscard]] constexpr std::uint64_t heap_header_size(std::uint64_t alignment) {
  return alignment < 64 ? alignment - 64 % alignment + 64 : alignment;
}

/// Bytes that a block with `size` data bytes takes; the largest possible number where 64 bits are
/// too few.
[[nodiscard]] std::uint64_t heap_block_size(const _mheap& heap, std::uint64_t size);

[[nodiscard]] inline bool is_locked(const mheap_mblk& block) {
  return block.lock_count != 0 || block.lockex_count != 0;
}

[[nodiscard]] inline std::uint64_t address_of(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

[[nodiscard]] inline mheap_mblk* next_block(const mheap_mblk* block) {
  return reinterpret_cast<mheap_mblk*>(reinterpret_cast<std::uintptr_t>(block) + block->size);
}

/// Owners' pointer variables. They change under their heap's mutex; whoever looks for a handle's heap
/// reads them before it knows which mutex that is. A stale value is harmless: the heap's own header
/// has the last word. Who reads a new one sees what its heap did before it wrote that.
inline void set_pointer(void** owner, void* data) {
  std::atomic_ref<void*>(*owner).store(data, std::memory_order_release);
}
[[nodiscard]] inline void* get_pointer(void** owner) {
  return std::atomic_ref<void*>(*owner).load(std::memory_order_acquire);
}

enum class SpaceResult {
  kFound,       ///< The block is free and large enough.
  kTooLarge,    ///< More than the whole heap holds.
  kAllLocked,   ///< More than all unlocked blocks hold together.
  kFragmented,  ///< Locked blocks stand in the way.
  kCorrupted,   ///< A block of size 0.
};

struct Space {
  SpaceResult result = SpaceResult::kFragmented;
  mheap_mblk* block = nullptr;  // When found.
};

class HeapBlocks {
 public:
  /// `runs` is the heap's index, in granules of the alignment, a power of two; it may be one that
  /// does not exist.
  HeapBlocks(_mheap& heap, FreeRuns& runs) : heap_(heap), runs_(runs) {}

  /// Lays one free block over a fresh region. The region holds at least one header.
  void lay_out();

  /// Finds or makes room for `needed` bytes, header included, a multiple of the alignment: the
  /// first block that fits; or, where `may_compact`, by moving blocks together; or by discarding
  /// the least recently used ones.
  [[nodiscard]] Space find_space(std::uint64_t needed, bool may_compact);

  /// Gives a found block to a handle, locked once, and cuts off what is not needed.
  void claim(mheap_mblk* block, std::uint64_t needed, void** owner);

  /// Frees a block: callback, owner's variable, header; takes in the free blocks behind it. False:
  /// freed, but a block of size 0 stands behind it.
  [[nodiscard]] bool release(mheap_mblk* block);

  /// Discards every unlocked block and joins what is free. False: a block of size 0.
  [[nodiscard]] bool discard_all();

  enum class Check { kSound, kEmptyBlock, kEmptyMerge };

  /// Joins free blocks and checks their sizes.
  [[nodiscard]] Check check();

  /// Whether no block has size 0. Joins nothing.
  [[nodiscard]] bool is_sound() const;

  /// Copies the blocks of a sound heap into a larger region and tells the owners. The old region is
  /// the caller's; so is a new index, which rebuild_index() fills afterwards.
  void move_to(std::uint8_t* region, std::uint64_t total_size);

  /// Fills the index from the headers.
  void rebuild_index();

  /// Whether the index says what the headers say; for tests.
  [[nodiscard]] bool index_agrees() const;

  /// The block whose header lies in front of `data`; null when that is no address of this heap, or
  /// one so close to its begin that no header can lie in front of it.
  [[nodiscard]] mheap_mblk* block_of(const void* data) const;

  /// The same, for an address above base.
  [[nodiscard]] mheap_mblk* inner_block_of(const void* data) const;

  /// The block that `address` lies in, wherever in it; null when that is no address of this heap.
  [[nodiscard]] mheap_mblk* block_around(const void* address) const;

  void stamp(mheap_mblk& block) { block.last_use = heap_.clock++; }

 private:
  struct Run;
  struct Survey;

  [[nodiscard]] std::optional<Space> find_in_index(std::uint64_t needed);
  void fetch_early(std::uint32_t run, std::uint64_t needed) const;
  [[nodiscard]] Survey survey(std::uint64_t needed);
  [[nodiscard]] Space compact(mheap_mblk* gap, std::uint64_t needed);
  void add_last_block(mheap_mblk* block, std::uint64_t room);
  mheap_mblk* slide_down(mheap_mblk* gap, mheap_mblk* block);
  [[nodiscard]] bool join_free(mheap_mblk* block);

  [[nodiscard]] std::uint32_t granule_of(const mheap_mblk* block) const;
  [[nodiscard]] mheap_mblk* block_at_granule(std::uint32_t granule) const;
  void join_run_behind(mheap_mblk* block);
  void index_freed(const mheap_mblk* block, const mheap_mblk* behind);
  void index_cut_off(const mheap_mblk* rest);
  void index_taken(const mheap_mblk* block);
  void index_joined_all();

  _mheap& heap_;
  FreeRuns& runs_;
};

// Here because locking a block is little more than this.

// What lies in front of the first block is not ours to read.
inline mheap_mblk* HeapBlocks::block_of(const void* data) const {
  const std::uint64_t address = address_of(data);
  const std::uint64_t first_data = address_of(heap_.first_block) + heap_.header_size;
  if (address < first_data || address >= address_of(heap_.end_block)) {
    return nullptr;
  }
  return reinterpret_cast<mheap_mblk*>(static_cast<std::uintptr_t>(address - heap_.header_size));
}

inline mheap_mblk* HeapBlocks::inner_block_of(const void* data) const {
  return data != heap_.base ? block_of(data) : nullptr;
}

}  // namespace orsin
