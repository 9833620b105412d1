#include "tests/support/new_refusal.h"

#include <cstddef>
#include <new>

namespace {

thread_local int grants_left = 0;
thread_local int refusals_left = 0;
thread_local std::size_t refused_bytes_min = 0;

bool grants(std::size_t bytes) {
  if (refusals_left == 0 || bytes < refused_bytes_min) {
    return true;
  }
  const bool is_granted = grants_left > 0;
  --(is_granted ? grants_left : refusals_left);
  return is_granted;
}

}  // namespace

namespace orsin::test {

NewRefusal::NewRefusal(int granted, int refused) {
  grants_left = granted;
  refusals_left = refused;
}

NewRefusal::~NewRefusal() {
  refusals_left = 0;
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
  return grants(size) ? ORSIN_NOTHROW(__real_, w)(size, tag) : nullptr;
}

void* ORSIN_NOTHROW(__wrap_, a)(std::size_t size, const std::nothrow_t& tag) noexcept {
  return grants(size) ? ORSIN_NOTHROW(__real_, a)(size, tag) : nullptr;
}

}  // extern "C"
