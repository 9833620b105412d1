// What the log asks of Windows: last errors, their texts, the time of day; see base/log_port.h.
#include <cstring>
#include <ctime>

#include "base/log_port.h"
#include "base/win/windows.h"
#include "orsincore/utf.h"

namespace orsin::port {
namespace {

constexpr DWORD kErrorTextUnits = 4096;  // The system's longest texts have some hundred.

}  // namespace

unsigned last_system_error() noexcept {
  return GetLastError();
}

void set_last_system_error(unsigned code) noexcept {
  SetLastError(code);
}

// By way of the wide form: the other answers in the system's code page, which is no UTF-8. A text
// that does not fit is refused, but its beginning has been written all the same: only the count
// tells.
void system_error_text(unsigned code, char* text, std::size_t size) noexcept {
  wchar_t wide[kErrorTextUnits];
  const DWORD units =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                     MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), wide, kErrorTextUnits, nullptr);
  wide[units] = L'\0';
  // Where the text fills the buffer, the terminator may stand inside the last character.
  std::memset(text, 0, size);
  ov_utf8_validate(ov_wchar_to_utf8(wide, text, size));
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
