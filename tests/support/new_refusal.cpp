#include "tests/support/new_refusal.h"

#include <cstddef>
#include <limits>
#include <new>

namespace {

constexpr int kNoLimit = std::numeric_limits<int>::max();
thread_local int grants_left = kNoLimit;
thread_local std::size_t refused_bytes_min = 0;

bool is_granted(std::size_t bytes) {
  if (grants_left == kNoLimit || bytes < refused_bytes_min) {
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
  refused_bytes_min = 0;
}

NewRefusal NewRefusal::of_size(std::size_t bytes_min) {
  refused_bytes_min = bytes_min;
  return NewRefusal();
}

}  // namespace orsin::test

// The linker leads the library's calls here (--wrap); the sanitizers own the operators themselves.
#if defined(_WIN64)
#define ORSIN_NOTHROW(prefix, name) prefix##_Zn##name##yRKSt9nothrow_t  // std::size_t is "y".
#else
#define ORSIN_NOTHROW(prefix, name) prefix##_Zn##name##mRKSt9nothrow_t
#endif

extern "C" {

void* ORSIN_NOTHROW(__real_, w)(std::size_t size, const std::nothrow_t& tag) noexcept;
void* ORSIN_NOTHROW(__real_, a)(std::size_t size, const std::nothrow_t& tag) noexcept;

void* ORSIN_NOTHROW(__wrap_, w)(std::size_t size, const std::nothrow_t& tag) noexcept {
  return is_granted(size) ? ORSIN_NOTHROW(__real_, w)(size, tag) : nullptr;
}

void* ORSIN_NOTHROW(__wrap_, a)(std::size_t size, const std::nothrow_t& tag) noexcept {
  return is_granted(size) ? ORSIN_NOTHROW(__real_, a)(size, tag) : nullptr;
}

}  // extern "C"
