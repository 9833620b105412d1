// The system's errors natively: errno is the last one, and a text says no more than the number. Asking
// for it changes the last error, as any call may.
#include <cerrno>
#include <cstdio>

#include "base/log_port.h"
#include "tests/platform/system_errors.h"

namespace orsin::port {

unsigned last_system_error() noexcept {
  return static_cast<unsigned>(errno);
}

void set_last_system_error(unsigned code) noexcept {
  errno = static_cast<int>(code);
}

void system_error_text(unsigned code, char* text, std::size_t size) noexcept {
  if (code >= 12000 && code < 13000) {  // As on Windows: those are the internet library's.
    text[0] = '\0';
    set_last_system_error(platform::kErrorNoSuchMessage);
    return;
  }
  std::snprintf(text, size, "error %u\r\n", code);
  set_last_system_error(0);
}

}  // namespace orsin::port
