// What a path leads to, as the system knows it; see file_system_port.h.
#include <string_view>

#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "files/file_system_port.h"
#include "orsincore/text.h"

namespace orsin::port {
namespace {

constexpr DWORD kPathUnits = 520;  // With the prefix of a final path, and room to see what is long.

// A directory, opened for nothing but questions: nobody is in the way.
class DirectoryHandle {
 public:
  explicit DirectoryHandle(const char* path)
      : handle_(CreateFileW(WidePath(path), 0,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
  ~DirectoryHandle() {
    if (is_open()) {
      CloseHandle(handle_);
    }
  }
  DirectoryHandle(const DirectoryHandle&) = delete;
  DirectoryHandle& operator=(const DirectoryHandle&) = delete;

  [[nodiscard]] bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

// False for a text that does not fit: cut, it would be another path.
bool to_utf8(const wchar_t* wide, char* text, std::size_t size) {
  char whole[kPathUnits * 3 + 1];  // No unit has more bytes.
  ov_wchar_to_utf8(wide, whole, sizeof(whole));
  const std::size_t length = std::strlen(whole);
  if (length >= size) {
    return false;
  }
  std::memcpy(text, whole, length + 1);
  return true;
}

}  // namespace

bool read_reparse_tag(const char* path, std::uint32_t& tag) noexcept {
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(WidePath(path), &data);
  if (search == INVALID_HANDLE_VALUE) {
    return false;
  }
  FindClose(search);
  tag = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? data.dwReserved0 : 0;
  return true;
}

bool read_identity(const char* path, DirectoryIdentity& identity) noexcept {
  const DirectoryHandle directory(path);
  BY_HANDLE_FILE_INFORMATION facts;
  if (!directory.is_open() || GetFileInformationByHandle(directory.get(), &facts) == 0) {
    return false;
  }
  identity = {facts.dwVolumeSerialNumber,
              (std::uint64_t{facts.nFileIndexHigh} << 32) | facts.nFileIndexLow};
  return true;
}

bool full_path(const char* path, char* full, std::size_t size) noexcept {
  wchar_t wide[kPathUnits];
  const DWORD length = GetFullPathNameW(WidePath(path), kPathUnits, wide, nullptr);
  return length > 0 && length < kPathUnits && to_utf8(wide, full, size);
}

bool final_path(const char* path, char* real, std::size_t size) noexcept {
  const DirectoryHandle directory(path);
  wchar_t wide[kPathUnits];
  const DWORD length = directory.is_open()
                           ? GetFinalPathNameByHandleW(directory.get(), wide, kPathUnits,
                                                       FILE_NAME_NORMALIZED | VOLUME_NAME_DOS)
                           : 0;
  if (length == 0 || length >= kPathUnits) {
    return false;
  }
  // \\?\C:\... and \\?\UNC\server\...: the other calls want C:\... and \\server\...
  constexpr std::wstring_view kLocal = L"\\\\?\\";
  constexpr std::wstring_view kShare = L"\\\\?\\UNC\\";
  wchar_t* start = wide;
  if (std::wstring_view(wide).starts_with(kShare)) {
    start += kShare.size() - 2;
    start[0] = L'\\';
  } else if (std::wstring_view(wide).starts_with(kLocal)) {
    start += kLocal.size();
  }
  return to_utf8(start, real, size);
}

}  // namespace orsin::port
