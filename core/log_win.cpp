#include <ctime>

#include "core/log_port.h"
#include "core/win/windows.h"

namespace orsin::port {

unsigned last_system_error() noexcept {
  return GetLastError();
}

void set_last_system_error(unsigned code) noexcept {
  SetLastError(code);
}

void system_error_text(unsigned code, char* text, std::size_t size) noexcept {
  text[0] = '\0';
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                 MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), text, static_cast<DWORD>(size),
                 nullptr);
}

double local_time_of_day() noexcept {
  const __time64_t now = _time64(nullptr);
  struct tm local = {};
  if (_localtime64_s(&local, &now) != 0) {
    return 0.0;
  }
  return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

}  // namespace orsin::port
