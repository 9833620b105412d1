// Page size and memory figures of the machine.
#include "memory/system_memory.h"

#include <algorithm>
#include <atomic>

#include "memory/pages_port.h"
#include "orsincore/memory.h"

using namespace orsin;

namespace {

// 0 until asked for. Relaxed: two threads that ask at once store the same answer.
constinit std::atomic<int> cached_page_size = 0;

std::uint64_t largest_free_region() {
  const port::AddressSpace space = port::address_space();
  std::uint64_t largest = 0;
  for (std::uint64_t address = space.lowest; address < space.highest;) {
    const port::Region region = port::region_at(address);
    if (region.size == 0) {
      break;
    }
    if (region.is_free) {
      largest = std::max(largest, region.size);
    }
    address = region.address + region.size;
  }
  return largest;
}

}  // namespace

int mem_pagesize() {
  int size = cached_page_size.load(std::memory_order_relaxed);
  if (size <= 0) {
    size = usable_page_size(port::page_size());
    cached_page_size.store(size, std::memory_order_relaxed);
  }
  return size;
}

std::uint64_t mem_info(mem_info_str* info) {
  const port::MemoryStatus status = port::memory_status();
  static_cast<void>(mem_pagesize());  // So that the size is known from start-up on.
  if (info == nullptr) {
    return status.available_physical;
  }

  info->total_physical = status.total_physical;
  info->available_physical = status.available_physical;
  info->available_virtual = status.available_virtual;
  info->total_virtual = status.total_virtual;
  info->largest_usable =
      largest_usable_block(largest_free_region(), status.available_physical, status.total_physical);
  return info->available_physical;
}
