#include "files/file_system_port.h"

#include <cstdio>
#include <cwchar>

#include "core/win/windows.h"
#include "orsincore/text.h"

#include <direct.h>
#include <io.h>

namespace orsin::port {
namespace {

// A UTF-8 path as the system wants it.
class WidePath {
 public:
  explicit WidePath(const char* path) { ov_utf8_to_wchar_n(path, units_, kUnits); }
  operator const wchar_t*() const { return units_; }

 private:
  static constexpr std::size_t kUnits = 260;
  wchar_t units_[kUnits];
};

// A handle that keeps the reason of a failed call when it closes.
class FileHandle {
 public:
  explicit FileHandle(HANDLE handle) : handle_(handle) {}
  ~FileHandle() {
    if (is_open()) {
      const DWORD last_error = GetLastError();
      CloseHandle(handle_);
      SetLastError(last_error);
    }
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  [[nodiscard]] bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

std::uint64_t joined(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME split(std::uint64_t time) {
  return {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
}

bool write_time_of(const FileHandle& file, std::uint64_t& time) {
  FILETIME created;
  FILETIME accessed;
  FILETIME written;
  if (!file.is_open() || GetFileTime(file.get(), &created, &accessed, &written) == 0) {
    return false;
  }
  time = joined(written);
  return true;
}

SetTime set_write_time(const FileHandle& file, std::uint64_t time) {
  if (!file.is_open()) {
    return SetTime::kNotOpened;
  }
  const FILETIME written = split(time);
  return SetFileTime(file.get(), nullptr, nullptr, &written) != 0 ? SetTime::kDone
                                                                  : SetTime::kRefused;
}

bool system_time_of(std::uint64_t time, bool local, SYSTEMTIME& result) {
  FILETIME file_time = split(time);
  if (local && FileTimeToLocalFileTime(&file_time, &file_time) == 0) {
    return false;
  }
  return FileTimeToSystemTime(&file_time, &result) != 0;
}

std::size_t without_terminator(int count) {
  return count > 0 ? static_cast<std::size_t>(count - 1) : 0;
}

}  // namespace

bool query_attributes(const char* path, FileAttributes& attributes) noexcept {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (GetFileAttributesExW(WidePath(path), GetFileExInfoStandard, &data) == 0) {
    return false;
  }
  attributes = {data.dwFileAttributes, joined(data.ftLastWriteTime),
                std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow};
  return true;
}

bool make_directory(const char* path) noexcept {
  return _wmkdir(WidePath(path)) == 0;
}

bool remove_directory(const char* path) noexcept {
  return _wrmdir(WidePath(path)) == 0;
}

bool remove_file(const char* path) noexcept {
  return _wunlink(WidePath(path)) == 0;
}

bool rename_file(const char* from, const char* to) noexcept {
  return _wrename(WidePath(from), WidePath(to)) == 0;
}

bool read_write_time(const char* path, bool share, std::uint64_t& time) noexcept {
  const FileHandle file(CreateFileW(WidePath(path), GENERIC_READ, share ? FILE_SHARE_READ : 0,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return write_time_of(file, time);
}

SetTime set_write_time_alone(const char* path, std::uint64_t time) noexcept {
  const FileHandle file(CreateFileW(WidePath(path), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  return set_write_time(file, time);
}

SetTime set_write_time_shared(const char* path, std::uint64_t time) noexcept {
  const FileHandle file(CreateFileW(WidePath(path), FILE_WRITE_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  return set_write_time(file, time);
}

bool read_attribute_bits(const char* path, std::uint32_t& bits) noexcept {
  bits = GetFileAttributesW(WidePath(path));
  return bits != INVALID_FILE_ATTRIBUTES;
}

bool write_attribute_bits(const char* path, std::uint32_t bits) noexcept {
  return SetFileAttributesW(WidePath(path), bits) != 0;
}

bool read_write_time_narrow(const char* path, std::uint64_t& time) noexcept {
  const FileHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  return write_time_of(file, time);
}

bool set_write_time_narrow(const char* path, std::uint64_t time) noexcept {
  const FileHandle file(
      CreateFileA(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  return set_write_time(file, time) == SetTime::kDone;
}

bool read_attribute_bits_narrow(const char* path, std::uint32_t& bits) noexcept {
  bits = GetFileAttributesA(path);
  return bits != INVALID_FILE_ATTRIBUTES;
}

bool write_attribute_bits_narrow(const char* path, std::uint32_t bits) noexcept {
  return SetFileAttributesA(path, bits) != 0;
}

std::size_t environment_variable(const char* name, char* value, std::size_t size) noexcept {
  const DWORD length = GetEnvironmentVariableA(name, value, static_cast<DWORD>(size));
  return length < size ? length : 0;
}

std::size_t date_text(std::uint64_t time, bool local, DateStyle style, char* out,
                      std::size_t size) noexcept {
  SYSTEMTIME system;
  if (size == 0 || !system_time_of(time, local, system)) {
    return 0;
  }
  return without_terminator(GetDateFormatA(LOCALE_USER_DEFAULT, 0, &system,
                                           style == DateStyle::kIso ? "yyyy-MM-dd" : nullptr, out,
                                           static_cast<int>(size)));
}

std::size_t time_text(std::uint64_t time, bool local, TimeStyle style, char* out,
                      std::size_t size) noexcept {
  SYSTEMTIME system;
  if (size == 0 || !system_time_of(time, local, system)) {
    return 0;
  }
  const bool is_iso = style == TimeStyle::kIsoSeconds;
  const DWORD flags = is_iso ? 0 : TIME_NOSECONDS | TIME_FORCE24HOURFORMAT;
  return without_terminator(GetTimeFormatA(LOCALE_USER_DEFAULT, flags, &system,
                                           is_iso ? "HH:mm:ss" : nullptr, out,
                                           static_cast<int>(size)));
}

void last_error_text(char* text, std::size_t size) noexcept {
  text[0] = '\0';
  const DWORD code = GetLastError();
  if (code != 0) {
    FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                   LANG_USER_DEFAULT, text, static_cast<DWORD>(size), nullptr);
  }
}

}  // namespace orsin::port
