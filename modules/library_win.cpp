// Loading, looking up and unloading by the Windows loader; see modules/library_port.h.
#include <cstdio>

#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "modules/library_port.h"

namespace orsin::port {
namespace {

constexpr std::size_t kUtf8BytesPerUnit = 3;

}  // namespace

void* load_library(const char* path) noexcept {
  return LoadLibraryExW(WidePath(path), nullptr, 0);
}

void unload_library(void* module) noexcept {
  FreeLibrary(static_cast<HMODULE>(module));
}

void* find_symbol(void* module, const char* symbol) noexcept {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), symbol));
}

void silence_thread_notices(void* module) noexcept {
  DisableThreadLibraryCalls(static_cast<HMODULE>(module));
}

bool absolute_path(const char* path, char* out, std::size_t size) noexcept {
  wchar_t units[kPathBytes];
  const DWORD length = GetFullPathNameW(WidePath(path), kPathBytes, units, nullptr);
  if (length == 0 || length >= kPathBytes) {
    return false;
  }
  char text[kPathBytes * kUtf8BytesPerUnit];
  ov_wchar_to_utf8(units, text, sizeof(text));
  return std::snprintf(out, size, "%s", text) < static_cast<int>(size);
}

std::wstring library_directory() {
  std::wstring directory(GetDllDirectoryW(0, nullptr), L'\0');
  directory.resize(GetDllDirectoryW(static_cast<DWORD>(directory.size()), directory.data()));
  return directory;
}

void set_library_directory(const char* directory) noexcept {
  SetDllDirectoryW(WidePath(directory));
}

void restore_library_directory(const std::wstring& directory) noexcept {
  SetDllDirectoryW(directory.empty() ? nullptr : directory.c_str());
}

unsigned error_mode() noexcept {
  return GetErrorMode();
}

void set_error_mode(unsigned mode) noexcept {
  static_assert(kNoCriticalErrorBox == SEM_FAILCRITICALERRORS);
  static_assert(kNoOpenFileBox == SEM_NOOPENFILEERRORBOX);
  SetErrorMode(mode);
}

}  // namespace orsin::port
