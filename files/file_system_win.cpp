// The file system behind the file utilities; see file_system_port.h.
#include <direct.h>
#include <io.h>
#include <wchar.h>

#include <cstring>

#include "base/log_port.h"
#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "files/file_system_port.h"

namespace orsin::port {
namespace {

constexpr std::uint64_t joined(DWORD high, DWORD low) {
  return (std::uint64_t{high} << 32) | low;
}

constexpr FILETIME to_file_time(std::uint64_t time) {
  return {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
}

// Closes with the last error as it was: the caller's log line comes later.
class FileHandle {
 public:
  FileHandle(const wchar_t* path, DWORD access, DWORD share)
      : handle_(CreateFileW(path, access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                            nullptr)) {}
  FileHandle(const char* narrow_path, DWORD access, DWORD share)
      : handle_(CreateFileA(narrow_path, access, share, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~FileHandle() {
    if (is_open()) {
      const DWORD error = GetLastError();
      CloseHandle(handle_);
      SetLastError(error);
    }
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  [[nodiscard]] bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }

  [[nodiscard]] bool set_write_time(std::uint64_t time) const {
    const FILETIME file_time = to_file_time(time);
    return is_open() && SetFileTime(handle_, nullptr, nullptr, &file_time) != 0;
  }

  [[nodiscard]] bool get_write_time(std::uint64_t& time) const {
    FILETIME created;
    FILETIME accessed;
    FILETIME written;
    if (!is_open() || GetFileTime(handle_, &created, &accessed, &written) == 0) {
      return false;
    }
    time = joined(written.dwHighDateTime, written.dwLowDateTime);
    return true;
  }

 private:
  HANDLE handle_;
};

}  // namespace

bool read_facts(const char* path, FileFacts& facts) noexcept {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (GetFileAttributesExW(WidePath(path), GetFileExInfoStandard, &data) == 0) {
    return false;
  }
  facts.attributes = data.dwFileAttributes;
  facts.size_bytes = joined(data.nFileSizeHigh, data.nFileSizeLow);
  facts.write_time =
      joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
  return true;
}

bool read_attributes(const char* path, std::uint32_t& attributes) noexcept {
  const DWORD found = GetFileAttributesW(WidePath(path));
  if (found == INVALID_FILE_ATTRIBUTES) {
    return false;
  }
  attributes = found;
  return true;
}

bool write_attributes(const char* path, std::uint32_t attributes) noexcept {
  return SetFileAttributesW(WidePath(path), attributes) != 0;
}

bool read_write_time(const char* path, bool share, std::uint64_t& time) noexcept {
  return FileHandle(WidePath(path), GENERIC_READ, share ? FILE_SHARE_READ : 0).get_write_time(time);
}

bool write_write_time(const char* path, std::uint64_t time) noexcept {
  return FileHandle(WidePath(path), GENERIC_WRITE, 0).set_write_time(time);
}

bool write_write_time_shared(const char* path, std::uint64_t time) noexcept {
  return FileHandle(WidePath(path), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE)
      .set_write_time(time);
}

bool read_write_time_narrow(const char* path, std::uint64_t& time) noexcept {
  return FileHandle(path, GENERIC_READ, FILE_SHARE_READ).get_write_time(time);
}

bool write_write_time_narrow(const char* path, std::uint64_t time) noexcept {
  return FileHandle(path, GENERIC_WRITE, 0).set_write_time(time);
}

bool read_attributes_narrow(const char* path, std::uint32_t& attributes) noexcept {
  const DWORD found = GetFileAttributesA(path);
  if (found == INVALID_FILE_ATTRIBUTES) {
    return false;
  }
  attributes = found;
  return true;
}

bool write_attributes_narrow(const char* path, std::uint32_t attributes) noexcept {
  return SetFileAttributesA(path, attributes) != 0;
}

bool make_file(const char* path) noexcept {
  const HANDLE file = CreateFileW(WidePath(path), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return false;
  }
  CloseHandle(file);
  return true;
}

bool make_directory(const char* path) noexcept {
  return _wmkdir(WidePath(path)) == 0;
}

bool remove_file(const char* path) noexcept {
  return _wunlink(WidePath(path)) == 0;
}

bool remove_directory(const char* path) noexcept {
  return _wrmdir(WidePath(path)) == 0;
}

bool rename_path(const char* from, const char* to) noexcept {
  return _wrename(WidePath(from), WidePath(to)) == 0;
}

}  // namespace orsin::port
