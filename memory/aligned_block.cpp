// Aligned blocks on the process heap, and the heap's own check-up.
//
// What a_realloc() does to the old block deserves a warning. Every release goes through the
// distance word in front of an address:
//
//   a_free(D)           frees D - distance(D), which is the start S that malloc() returned;
//   a_realloc(D, ...)   frees S - distance(S), with the word that lies in front of S.
//
// That word belongs to the process heap's bookkeeping when S came from malloc(). So a_realloc() of
// a live block is sound only where the caller laid the block out itself: a heap block of its own
// that holds an inner block whose start carries a header as well (the layout of two nested aligned
// blocks), or an allocator whose word in front of S reads 0.
#include "memory/aligned_block.h"

#include <algorithm>
#include <cstdlib>

#include "base/system_error_text.h"
#include "memory/os_allocation.h"
#include "memory/process_heap_port.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"

using namespace orsin;

namespace {

unsigned char* step_back(void* address) {
  return static_cast<unsigned char*>(address) - AlignedHeader::read(address).distance;
}

}  // namespace

void* a_alloc(std::uint64_t size, int alignment) {
  constexpr int kAlignmentMin = 4;  // Below it the caller means "whatever suits the system".
  const auto unit =
      static_cast<std::uint64_t>(alignment < kAlignmentMin ? mem_pagesize() : alignment);

  const std::optional<std::uint64_t> request = aligned_request(size, unit);
  void* start = request ? std::malloc(*request) : nullptr;
  if (start == nullptr) {
    msgerror("MEMORY: Aligned allocation failed.. (Requested: %.3f)", os_allocation::to_kib(size));
    return nullptr;
  }

  const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(start));
  const std::uint64_t distance = aligned_data_address(address, unit) - address;
  unsigned char* data = static_cast<unsigned char*>(start) + distance;
  AlignedHeader{size, distance}.write(data);
  return data;
}

void* a_realloc(void* data, std::uint64_t size, int alignment) {
  void* moved = a_alloc(size, alignment);
  if (moved == nullptr) {
    msgwarn("MEMORY: Aligned re-allocation failed.. (Requested: %.3f)",
            os_allocation::to_kib(size));
    return nullptr;
  }
  if (data == nullptr) {
    return moved;
  }

  const std::uint64_t old_size = AlignedHeader::read(data).size;
  if (old_size != 0) {
    std::memcpy(moved, data, std::min(size, old_size));
  }
  // Kept on purpose: twice, where a_free() steps once; see the head of this file. Required.
  std::free(step_back(step_back(data)));
  return moved;
}

void a_free(void* data) {
  std::free(step_back(data));
}

std::uint64_t a_heapcompact() {
  if (!port::process_heap_is_valid()) {
    msgwarn("MEMORY: System heap corrupted...");
    return 0;
  }
  const std::uint64_t largest_free = port::compact_process_heap();
  if (largest_free != 0) {
    return largest_free;
  }
  const SystemErrorText reason;
  if (*reason.c_str() == '\0') {
    return 1;
  }
  // Kept on purpose: a heap without a free block gives the reason "No Error", and that line.
  msgwarn("MEMORY: System heap: %s", reason.c_str());
  return 0;
}
