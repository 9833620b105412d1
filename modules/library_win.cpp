// Loading, looking up and unloading by the Windows loader; see modules/library_port.h.
#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "modules/library_port.h"

namespace orsin::port {

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

void set_library_directory(const char* directory) noexcept {
  if (directory != nullptr) {
    SetDllDirectoryW(WidePath(directory));
  } else {
    SetDllDirectoryW(nullptr);
  }
}

void silence_error_boxes() noexcept {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
}

}  // namespace orsin::port
