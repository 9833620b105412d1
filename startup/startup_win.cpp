// What start-up and its report ask of Windows; see startup/startup_port.h.
#include "startup/startup_port.h"

#include <cstdio>
#include <vector>

#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "orsincore/text.h"

#include <io.h>
#include <shlobj.h>

namespace orsin::port {
namespace {

constexpr std::size_t kPathUnits = 260;
constexpr std::size_t kUtf8BytesPerUnit = 3;

constinit bool standard_error_is_log = false;

}  // namespace

void module_file_name(char* path, std::size_t size) noexcept {
  wchar_t wide[kPathUnits] = {};
  GetModuleFileNameW(nullptr, wide, kPathUnits - 1);
  ov_wchar_to_utf8(wide, path, size);
}

bool common_application_data(char* path, std::size_t size) noexcept {
  // The wide form: the other answers in the system's code page, which is no UTF-8.
  wchar_t folder[MAX_PATH];
  if (FAILED(SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr,
                              SHGFP_TYPE_CURRENT, folder))) {
    return false;
  }
  ov_wchar_to_utf8(folder, path, size);
  return true;
}

bool is_file_written(const char* path) noexcept {
  const HANDLE file =
      CreateFileW(WidePath(path), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_SHARING_VIOLATION;
  }
  CloseHandle(file);
  return false;
}

bool copy_file(const char* from, const char* to) noexcept {
  return CopyFileW(WidePath(from), WidePath(to), FALSE) != 0;
}

void redirect_standard_error(std::FILE* stream) noexcept {
  const auto handle = _get_osfhandle(_fileno(stream));
  SetStdHandle(STD_ERROR_HANDLE, reinterpret_cast<HANDLE>(handle));
  standard_error_is_log = true;
}

void close_redirected_standard_error() noexcept {
  if (standard_error_is_log) {
    std::fclose(stderr);
    standard_error_is_log = false;
  }
}

bool computer_name(char* name, std::size_t size) noexcept {
  // The wide form, as above.
  wchar_t wide[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
  if (GetComputerNameW(wide, &length) == 0) {
    return false;
  }
  char text[sizeof(wide) / sizeof(*wide) * kUtf8BytesPerUnit];
  ov_wchar_to_utf8(wide, text, sizeof(text));
  return std::snprintf(name, size, "%s", text) < static_cast<int>(size);
}

bool system_product_version(Version& version) noexcept {
  constexpr char kLibrary[] = "Kernel32.dll";
  DWORD unused = 0;
  const DWORD size = GetFileVersionInfoSizeA(kLibrary, &unused);
  std::vector<unsigned char> block(size);
  VS_FIXEDFILEINFO* info = nullptr;
  UINT length = 0;
  if (size == 0 || GetFileVersionInfoA(kLibrary, 0, size, block.data()) == 0 ||
      VerQueryValueA(block.data(), "\\", reinterpret_cast<void**>(&info), &length) == 0 ||
      length < sizeof(*info)) {
    return false;
  }
  version = {{HIWORD(info->dwProductVersionMS), LOWORD(info->dwProductVersionMS),
              HIWORD(info->dwProductVersionLS), LOWORD(info->dwProductVersionLS)}};
  return true;
}

SystemVersion system_version() noexcept {
  using GetVersion = LONG(NTAPI*)(OSVERSIONINFOW*);
  const HMODULE system = GetModuleHandleW(L"ntdll.dll");
  const auto get_version = reinterpret_cast<GetVersion>(
      reinterpret_cast<void*>(GetProcAddress(system, "RtlGetVersion")));
  OSVERSIONINFOW info = {};
  info.dwOSVersionInfoSize = sizeof(info);
  get_version(&info);  // GetVersionEx() answers what the host's manifest lets it know.
  SystemVersion version = {static_cast<int>(info.dwMajorVersion),
                           static_cast<int>(info.dwMinorVersion),
                           static_cast<int>(info.dwBuildNumber),
                           {}};
  ov_wchar_to_utf8(info.szCSDVersion, version.service_pack, sizeof(version.service_pack));
  return version;
}

bool registered(const char* value_name, char* text, std::size_t size) noexcept {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows NT\\CurrentVersion", 0,
                    KEY_READ, &key) != ERROR_SUCCESS) {
    return false;
  }
  wchar_t wide_name[kPathUnits];
  ov_utf8_to_wchar_n(value_name, wide_name, kPathUnits);
  std::vector<wchar_t> wide(size);  // Zeroed: the stored value need not end with a zero.
  DWORD type = 0;
  auto bytes = static_cast<DWORD>((size - 1) * sizeof(wchar_t));
  const LSTATUS status = RegQueryValueExW(key, wide_name, nullptr, &type,
                                          reinterpret_cast<BYTE*>(wide.data()), &bytes);
  RegCloseKey(key);
  if (status != ERROR_SUCCESS || type != REG_SZ || wide[0] == L'\0') {
    return false;
  }
  ov_wchar_to_utf8(wide.data(), text, size);
  return true;
}

}  // namespace orsin::port
