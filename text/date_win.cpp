// Clocks, time zones and the user's formats as Windows has them; see text/date_port.h.
#include "text/date_port.h"

#include <ctime>

#include "base/win/windows.h"
#include "text/calendar_time.h"

namespace orsin::port {
namespace {

SYSTEMTIME system_time(const LocalTime& time) {
  SYSTEMTIME result = {};
  result.wYear = static_cast<WORD>(time.year);
  result.wMonth = static_cast<WORD>(time.month);
  result.wDay = static_cast<WORD>(time.day);
  result.wHour = static_cast<WORD>(int{time.hour});
  result.wMinute = static_cast<WORD>(int{time.minute});
  result.wSecond = static_cast<WORD>(int{time.second});
  return result;
}

// The years of a system time; others would be cut to 16 bits and name a different year.
bool is_system_year(int year) {
  return year >= 1601 && year <= 30827;
}

}  // namespace

std::int64_t posix_now() noexcept {
  return _time64(nullptr);
}

LocalTime to_local_time(std::int64_t posix) noexcept {
  const __time64_t seconds = posix;
  struct tm local;  // Filled in any case.
  if (_localtime64_s(&local, &seconds) != 0) {
    return {};
  }
  return local_time_of(local);
}

std::int64_t from_local_standard_time(const LocalTime& time) noexcept {
  struct tm local = broken_down(time);
  return _mktime64(&local);
}

bool format_user_date(const LocalTime& time, char* text, std::size_t size) noexcept {
  if (!is_system_year(time.year)) {
    return false;
  }
  const SYSTEMTIME system = system_time(time);
  return GetDateFormatA(LOCALE_USER_DEFAULT, 0, &system, nullptr, text, static_cast<int>(size)) !=
         0;
}

bool format_user_time(const LocalTime& time, char* text, std::size_t size) noexcept {
  const SYSTEMTIME system = system_time(time);
  return GetTimeFormatA(LOCALE_USER_DEFAULT, 0, &system, nullptr, text, static_cast<int>(size)) !=
         0;
}

bool move_time(LocalTime& time, std::int64_t units) noexcept {
  if (!is_system_year(time.year)) {
    return false;
  }
  SYSTEMTIME system = system_time(time);
  FILETIME file_time;
  if (SystemTimeToFileTime(&system, &file_time) == 0) {
    return false;
  }
  ULARGE_INTEGER value;
  value.LowPart = file_time.dwLowDateTime;
  value.HighPart = file_time.dwHighDateTime;
  value.QuadPart += static_cast<ULONGLONG>(units);
  file_time.dwLowDateTime = value.LowPart;
  file_time.dwHighDateTime = value.HighPart;
  if (FileTimeToSystemTime(&file_time, &system) == 0) {
    return false;
  }
  time = {system.wYear,
          system.wMonth,
          system.wDay,
          static_cast<signed char>(system.wHour),
          static_cast<signed char>(system.wMinute),
          static_cast<signed char>(system.wSecond)};
  return true;
}

}  // namespace orsin::port
