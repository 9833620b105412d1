// What dates ask of the platform. date_win.cpp answers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin::port {

struct LocalTime {
  int year = 0;
  int month = 0;
  int day = 0;
  signed char hour = 0;
  signed char minute = 0;
  signed char second = 0;
  int year_day = -1;  // From 1; only to_local_time() says it, where there is such a day.
};

/// Seconds since 1970 UTC, now.
[[nodiscard]] std::int64_t posix_now() noexcept;

/// The local calendar time of a POSIX time; all zero when it cannot be told.
[[nodiscard]] LocalTime to_local_time(std::int64_t posix) noexcept;

/// The POSIX time of a local standard time (daylight saving is not considered).
[[nodiscard]] std::int64_t from_local_standard_time(const LocalTime& time) noexcept;

/// The user's short date and time of day. False when the system gives none.
[[nodiscard]] bool format_user_date(const LocalTime& time, char* text, std::size_t size) noexcept;
[[nodiscard]] bool format_user_time(const LocalTime& time, char* text, std::size_t size) noexcept;

/// Moves a time by a number of 100-nanosecond units; false, with the time untouched, when it or the
/// result lies outside the years 1601 to 30827.
[[nodiscard]] bool move_time(LocalTime& time, std::int64_t units) noexcept;

}  // namespace orsin::port
