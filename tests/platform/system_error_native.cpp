// The system's errors natively: errno is the last one, and a text says no more than the number.
#include <cerrno>
#include <cstdio>

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

}  // namespace orsin::port
