#include "tests/memory/allocation_refusal.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace {

// Plain atomics: anything that allocates would come back here.
constinit std::atomic<std::size_t> refused_bytes_min = SIZE_MAX;
constinit std::atomic<long> live = 0;
constinit std::atomic<bool> is_watching = false;
constinit std::array<std::atomic<std::uintptr_t>, 64> freed = {};
constinit std::atomic<std::size_t> freed_count = 0;

void* counted(void* block) {
  live += block != nullptr ? 1 : 0;
  return block;
}

}  // namespace

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
  return size >= refused_bytes_min ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return count * size >= refused_bytes_min ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
  if (size >= refused_bytes_min) {
    return nullptr;
  }
  void* moved = __real_realloc(block, size);
  return block == nullptr ? counted(moved) : moved;
}

void __wrap_free(void* block) {
  if (is_watching) {
    freed[freed_count++ % freed.size()] = reinterpret_cast<std::uintptr_t>(block);
  }
  live -= block != nullptr ? 1 : 0;
  __real_free(block);
}

}  // extern "C"

namespace orsin::test {

AllocationRefusal::AllocationRefusal(std::size_t bytes_min) {
  refused_bytes_min = bytes_min;
}

AllocationRefusal::~AllocationRefusal() {
  refused_bytes_min = SIZE_MAX;
}

long live_blocks() {
  return live;
}

FreeWatch::FreeWatch() {
  freed_count = 0;
  for (std::atomic<std::uintptr_t>& entry : freed) {
    entry = 0;
  }
  is_watching = true;
}

FreeWatch::~FreeWatch() {
  is_watching = false;
}

bool FreeWatch::saw(const void* address) const {
  for (const std::atomic<std::uintptr_t>& entry : freed) {
    if (entry == reinterpret_cast<std::uintptr_t>(address)) {
      return true;
    }
  }
  return false;
}

}  // namespace orsin::test
