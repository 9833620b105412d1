// The message log's port over the C library: error numbers stand for system error codes.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/log_port.h"

namespace orsin::port {

unsigned last_system_error() noexcept {
  return static_cast<unsigned>(errno);
}

void set_last_system_error(unsigned code) noexcept {
  errno = static_cast<int>(code);
}

void system_error_text(unsigned code, char* text, std::size_t size) noexcept {
  text[0] = '\0';
  if (code < 12000 || code >= 13000) {  // As on Windows: those are the internet library's.
    std::snprintf(text, size, "error %u\r\n", code);
  }
}

double local_time_of_day() noexcept {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  localtime_r(&now, &local);
  return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

}  // namespace orsin::port
