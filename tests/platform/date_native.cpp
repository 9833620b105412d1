// The date port over the C library.
#include <cstdio>
#include <ctime>

#include "tests/platform/user_date.h"
#include "text/calendar_time.h"
#include "text/date_port.h"

namespace orsin {

std::string& test::user_date() {
  static std::string date;
  return date;
}

namespace port {

std::int64_t posix_now() noexcept {
  return std::time(nullptr);
}

LocalTime to_local_time(std::int64_t posix) noexcept {
  const std::time_t seconds = posix;
  std::tm local = {};
  localtime_r(&seconds, &local);
  return local_time_of(local);
}

std::int64_t from_local_standard_time(const LocalTime& time) noexcept {
  std::tm local = broken_down(time);
  return std::mktime(&local);
}

bool format_user_date(const LocalTime& time, char* text, std::size_t size) noexcept {
  if (const std::string& settled = test::user_date(); !settled.empty()) {
    return std::snprintf(text, size, "%s", settled.c_str()) < static_cast<int>(size);
  }
  std::snprintf(text, size, "%d/%d/%d", time.month, time.day, time.year);
  return time.year >= 1601 && time.year <= 30827;
}

bool format_user_time(const LocalTime& time, char* text, std::size_t size) noexcept {
  std::snprintf(text, size, "%02d:%02d:%02d", time.hour, time.minute, time.second);
  return true;
}

// The bounds are those of the Windows call.
bool move_time(LocalTime& time, std::int64_t units) noexcept {
  std::tm utc = broken_down(time);
  const bool is_valid = time.year >= 1601 && time.year <= 30827 && time.month >= 1 &&
                        time.month <= 12 && time.day >= 1;
  const int day = time.day;
  std::time_t seconds = timegm(&utc);
  if (!is_valid || utc.tm_mday != day) {
    return false;
  }
  seconds += units / 10'000'000;
  gmtime_r(&seconds, &utc);
  if (utc.tm_year + 1900 < 1601 || utc.tm_year + 1900 > 30827) {
    return false;
  }
  time = local_time_of(utc);
  time.year_day = LocalTime().year_day;
  return true;
}

}  // namespace port
}  // namespace orsin
