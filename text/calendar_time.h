// A local time as the C library breaks it down, and back.
#pragma once

#include <ctime>

#include "text/date_port.h"

namespace orsin {

[[nodiscard]] inline port::LocalTime local_time_of(const std::tm& time) noexcept {
  return {time.tm_year + 1900,
          time.tm_mon + 1,
          time.tm_mday,
          static_cast<signed char>(time.tm_hour),
          static_cast<signed char>(time.tm_min),
          static_cast<signed char>(time.tm_sec),
          time.tm_yday + 1};
}

/// Weekday, day of the year and the flag of daylight saving are 0.
[[nodiscard]] inline std::tm broken_down(const port::LocalTime& time) noexcept {
  std::tm result = {};
  result.tm_year = time.year - 1900;
  result.tm_mon = time.month - 1;
  result.tm_mday = time.day;
  result.tm_hour = int{time.hour};
  result.tm_min = int{time.minute};
  result.tm_sec = int{time.second};
  return result;
}

}  // namespace orsin
