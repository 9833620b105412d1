#include "tests/support/allocation_refusal.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
}

namespace {

// Plain atomics: anything that allocates would come back here.
constinit std::atomic<std::size_t> refused_bytes_min = SIZE_MAX;
constinit std::atomic<long> live = 0;
constinit std::atomic<bool> is_watching = false;
constinit std::array<std::atomic<std::uintptr_t>, 64> freed = {};
constinit std::atomic<std::size_t> freed_count = 0;

// A block between its margins. The heap's own block begins at `start`.
struct Fenced {
  std::atomic<unsigned char*> block = nullptr;
  unsigned char* start = nullptr;
  std::size_t bytes = 0;
};
constinit std::array<Fenced, 8> fenced = {};
constinit std::atomic<bool> is_fencing = false;

constexpr std::size_t kMarginBytes = 256;
constexpr std::size_t kLineBytes = 64;
constexpr std::size_t kIntoLineBytes = 16;  // What the process heap aligns to, and no more.
constexpr unsigned char kMarginByte = 0xFE;

void* counted(void* block) {
  live += block != nullptr ? 1 : 0;
  return block;
}

Fenced* fenced_at(const void* block) {
  const auto found = std::find_if(fenced.begin(), fenced.end(),
                                  [block](const Fenced& entry) { return entry.block == block; });
  return found != fenced.end() ? &*found : nullptr;
}

void* fenced_calloc(std::size_t bytes) {
  Fenced* entry = fenced_at(nullptr);
  auto* start = static_cast<unsigned char*>(__real_malloc(bytes + 3 * kMarginBytes));
  if (entry == nullptr || start == nullptr) {
    __real_free(start);
    return nullptr;
  }
  std::memset(start, kMarginByte, bytes + 3 * kMarginBytes);
  const std::size_t to_line = (0 - reinterpret_cast<std::uintptr_t>(start)) % kLineBytes;
  unsigned char* block = start + to_line + kMarginBytes + kIntoLineBytes;
  std::memset(block, 0, bytes);
  entry->start = start;
  entry->bytes = bytes;
  entry->block = block;
  return block;
}

}  // namespace

extern "C" {

void* __wrap_malloc(std::size_t size) {
  return size >= refused_bytes_min ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (count * size >= refused_bytes_min) {
    return nullptr;
  }
  return counted(is_fencing ? fenced_calloc(count * size) : __real_calloc(count, size));
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
  if (Fenced* entry = block != nullptr ? fenced_at(block) : nullptr; entry != nullptr) {
    unsigned char* start = entry->start;
    entry->block = nullptr;
    __real_free(start);
    return;
  }
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

FencedMemory::FencedMemory() {
  is_fencing = true;
}

FencedMemory::~FencedMemory() {
  is_fencing = false;
}

bool FencedMemory::is_intact() const {
  const auto is_margin = [](unsigned char byte) { return byte == kMarginByte; };
  return std::all_of(fenced.begin(), fenced.end(), [&](const Fenced& entry) {
    const unsigned char* start = entry.start;
    const unsigned char* block = entry.block;
    return block == nullptr ||
           (std::all_of(start, block, is_margin) &&
            std::all_of(block + entry.bytes, block + entry.bytes + kMarginBytes, is_margin));
  });
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
