#include "tests/files/sized_new_refusal.h"

#include <atomic>
#include <cstdint>
#include <new>

namespace {

constinit std::atomic<std::size_t> refused_bytes_min = SIZE_MAX;

}  // namespace

namespace orsin::test {

SizedNewRefusal::SizedNewRefusal(std::size_t bytes_min) {
  refused_bytes_min = bytes_min;
}

SizedNewRefusal::~SizedNewRefusal() {
  refused_bytes_min = SIZE_MAX;
}

}  // namespace orsin::test

// The ordinary ones take the memory, so that the ordinary ones give it back.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return size < refused_bytes_min ? ::operator new(size) : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return size < refused_bytes_min ? ::operator new[](size) : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
