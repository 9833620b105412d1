// The high-resolution counter; see base/clock_port.h.
#include "base/clock_port.h"
#include "base/win/windows.h"

namespace orsin::port {

bool query_counter_frequency(std::int64_t& frequency) noexcept {
  LARGE_INTEGER value;
  const bool known = QueryPerformanceFrequency(&value) != 0;
  frequency = known ? value.QuadPart : 0;
  return known;
}

bool query_counter(std::int64_t& count) noexcept {
  LARGE_INTEGER value;
  const bool known = QueryPerformanceCounter(&value) != 0;
  count = known ? value.QuadPart : 0;
  return known;
}

}  // namespace orsin::port
