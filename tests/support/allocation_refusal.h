// Has the process heap refuse, places its memory awkwardly, and watches what is freed.
//
// The test program is linked so that the library's calls of malloc(), calloc(), realloc() and
// free() come through here. While a refusal lives, allocations of at least its size fail; while a
// watch lives, it knows the addresses that were freed.
#pragma once

#include <cstddef>

namespace orsin::test {

class AllocationRefusal {
 public:
  explicit AllocationRefusal(std::size_t bytes_min);
  ~AllocationRefusal();
  AllocationRefusal(const AllocationRefusal&) = delete;
  AllocationRefusal& operator=(const AllocationRefusal&) = delete;
};

/// Blocks that were allocated through these doors and not freed through them.
[[nodiscard]] long live_blocks();

/// While one lives, calloc() gives memory that begins in the middle of a cache line, as the process
/// heap is free to do, with a margin of known bytes before and behind it. Few blocks at a time; they
/// may be freed later.
class FencedMemory {
 public:
  FencedMemory();
  ~FencedMemory();
  FencedMemory(const FencedMemory&) = delete;
  FencedMemory& operator=(const FencedMemory&) = delete;

  /// Whether nobody has written into the margins of the blocks that live.
  [[nodiscard]] bool is_intact() const;
};

class FreeWatch {
 public:
  FreeWatch();
  ~FreeWatch();
  FreeWatch(const FreeWatch&) = delete;
  FreeWatch& operator=(const FreeWatch&) = delete;

  /// Whether `address` was given to free() since the watch began.
  [[nodiscard]] bool saw(const void* address) const;
};

}  // namespace orsin::test
