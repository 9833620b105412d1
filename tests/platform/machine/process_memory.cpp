#include "tests/platform/machine/process_memory.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "tests/platform/machine/machine.h"

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);
void __sanitizer_symbolize_pc(void* address, const char* format, char* text, std::size_t size);
}

namespace orsin::simulation {
namespace {

constexpr int kCallers = 4;

// Open addressing, in a place of its own: it must not allocate. The addresses, which every release looks
// through, lie close together: each page of them that a run touches costs it a page fault.
constexpr std::size_t kPlaces = std::size_t{1} << 16;
constinit std::array<std::uintptr_t, kPlaces> addresses = {};  // 0: free; 1: was used.
constinit std::array<std::array<void*, kCallers>, kPlaces> callers_of = {};
constinit long live = 0;

std::size_t place_of(std::uintptr_t address) {
  return static_cast<std::size_t>(Random::mixed(address)) % kPlaces;
}

bool is_in_library() {
  if (!has_machine()) {
    return false;
  }
  const Task& task = machine().schedule.current();
  return task.calls_into_library > 0 && task.calls_into_machine == 0;
}

void remember(void* pointer) {
  const auto address = reinterpret_cast<std::uintptr_t>(pointer);
  std::size_t place = place_of(address);
  while (addresses[place] > 1) {
    place = (place + 1) % kPlaces;
  }
  addresses[place] = address;
  auto* const* frame = static_cast<void* const*>(__builtin_frame_address(0));
  for (void*& caller : callers_of[place]) {
    frame = static_cast<void* const*>(frame[0]);
    if (frame == nullptr) {
      caller = nullptr;
      break;
    }
    caller = frame[1];
  }
  ++live;
}

void forget(const void* pointer) {
  const auto address = reinterpret_cast<std::uintptr_t>(pointer);
  for (std::size_t place = place_of(address); addresses[place] != 0;
       place = (place + 1) % kPlaces) {
    if (addresses[place] == address) {
      addresses[place] = 1;
      --live;
      return;
    }
  }
}

// Null where the machine has none left.
template <typename Allocate>
void* allocate(Allocate allocation) {
  if (!is_in_library()) {
    return allocation();
  }
  const Outside outside;
  if (machine().refusals.at_allocation()) {
    machine().schedule.note("no memory");
    errno = ENOMEM;
    return nullptr;
  }
  void* block = allocation();
  if (block != nullptr) {
    remember(block);
  }
  return block;
}

void release(void* block) {
  if (block != nullptr && live > 0) {
    forget(block);
  }
  __real_free(block);
}

}  // namespace

long library_blocks() {
  return live;
}

void print_library_blocks() {
  int printed = 0;
  for (std::size_t place = 0; place < kPlaces; ++place) {
    if (addresses[place] > 1 && printed++ < 8) {
      std::fprintf(stderr, "  block %p from\n", reinterpret_cast<void*>(addresses[place]));
      for (void* caller : callers_of[place]) {
        char text[512] = "?";
        __sanitizer_symbolize_pc(caller, "%f %s:%l", text, sizeof(text));
        std::fprintf(stderr, "      %s\n", text);
      }
    }
  }
}

}  // namespace orsin::simulation

using orsin::simulation::allocate;
using orsin::simulation::release;

extern "C" {

void* __wrap_malloc(std::size_t size) {
  return allocate([=] { return __real_malloc(size); });
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return allocate([=] { return __real_calloc(count, size); });
}

void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
  return allocate([=] { return __real_aligned_alloc(alignment, size); });
}

void* __wrap_realloc(void* block, std::size_t size) {
  void* moved = allocate([=] { return __real_realloc(block, size); });
  if (moved != nullptr && block != nullptr && moved != block) {
    orsin::simulation::forget(block);
  }
  return moved;
}

void __wrap_free(void* block) {
  release(block);
}

}  // extern "C"

void* operator new(std::size_t size) {
  void* block = __wrap_malloc(size != 0 ? size : 1);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size != 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size != 0 ? size : 1);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  void* block = __wrap_aligned_alloc(static_cast<std::size_t>(alignment), size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return __wrap_aligned_alloc(static_cast<std::size_t>(alignment), size);
}

void operator delete(void* block) noexcept {
  release(block);
}

void operator delete[](void* block) noexcept {
  release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  release(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
  release(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
  release(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
  release(block);
}

void operator delete(void* block, std::align_val_t /*alignment*/) noexcept {
  release(block);
}

void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  release(block);
}
