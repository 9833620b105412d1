#include "tests/net/new_refusal.h"

#include <cstddef>
#include <limits>
#include <new>

namespace {

constexpr int kNoLimit = std::numeric_limits<int>::max();
thread_local int grants_left = kNoLimit;

bool is_granted() {
  if (grants_left == kNoLimit) {
    return true;
  }
  return grants_left > 0 && grants_left-- > 0;
}

}  // namespace

namespace orsin::test {

NewRefusal::NewRefusal(int granted) {
  grants_left = granted;
}

NewRefusal::~NewRefusal() {
  grants_left = kNoLimit;
}

}  // namespace orsin::test

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return is_granted() ? ::operator new(size) : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return is_granted() ? ::operator new[](size) : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
