#include "tests/support/handle_count_win.h"

#include <cstdint>

#include "base/win/windows.h"

namespace orsin::test {
namespace {

// Wine gives the lowest value that is free: behind so many free ones in a row there are none in use.
std::size_t try_each_value() {
  constexpr std::uintptr_t kStep = 4;
  constexpr std::uintptr_t kFreeInARow = 4096;
  std::size_t count = 0;
  std::uintptr_t end = kStep * kFreeInARow;
  for (std::uintptr_t value = kStep; value < end; value += kStep) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != 0) {
      ++count;
      end = value + kStep * kFreeInARow;
    }
  }
  return count;
}

}  // namespace

std::size_t count_own_handles() {
  DWORD count = 0;
  if (GetProcessHandleCount(GetCurrentProcess(), &count) == 0) {
    return 0;
  }
  return count != 0 ? count : try_each_value();
}

}  // namespace orsin::test
