// The port of new files; see new_file_port.h.
#include <cwchar>

#include "base/new_file_port.h"
#include "base/path_buffer.h"
#include "base/win/windows.h"
#include "orsincore/utf.h"

namespace orsin::port {
namespace {

// As ov_utf8_fopen() converts a name, which is measured in units: beside a path that fits, a name
// may have some bytes more than a path.
class WideName {
 public:
  explicit WideName(const char* path) {
    ov_utf8_to_wchar_n(path, units_, kUnits);
    if (std::wcslen(units_) >= kPathBytes) {
      units_[0] = L'\0';  // Cut, it would name another file.
    }
  }

  operator const wchar_t*() const { return units_; }

 private:
  static constexpr std::size_t kUnits = kPathBytes + 16;
  wchar_t units_[kUnits];
};

}  // namespace

Creation create_new_file(const char* path) noexcept {
  const HANDLE file = CreateFileW(WideName(path), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_FILE_EXISTS ? Creation::kExists : Creation::kRefused;
  }
  CloseHandle(file);
  return Creation::kCreated;
}

bool rename_new_file(const char* from, const char* to) noexcept {
  return MoveFileExW(WideName(from), WideName(to), MOVEFILE_REPLACE_EXISTING) != 0;
}

void remove_new_file(const char* path) noexcept {
  const DWORD error = GetLastError();
  DeleteFileW(WideName(path));
  SetLastError(error);
}

}  // namespace orsin::port
