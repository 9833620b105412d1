// The process environment; see environment_port.h.
#include "files/environment_port.h"

#include <memory>
#include <new>

#include "base/wide_path_win.h"
#include "base/win/windows.h"

namespace orsin::port {

bool read_environment(const char* name, char* value, std::size_t size) noexcept {
  constexpr DWORD kUnits = 32768;  // No variable is longer.
  const std::unique_ptr<wchar_t[]> text(new (std::nothrow) wchar_t[kUnits]);
  if (!text) {
    return false;
  }
  SetLastError(ERROR_SUCCESS);
  const DWORD length = GetEnvironmentVariableW(WidePath(name), text.get(), kUnits);
  if (length >= kUnits || (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND)) {
    return false;
  }
  ov_wchar_to_utf8(text.get(), value, size);
  return true;
}

}  // namespace orsin::port
