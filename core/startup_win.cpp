#include "core/startup_port.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "core/win/windows.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"

#include <io.h>
#include <shlobj.h>

namespace orsin::port {
namespace {

constexpr std::size_t kPathUnits = 260;

}  // namespace

void module_file_name(char* path, std::size_t size) noexcept {
  wchar_t wide[kPathUnits] = {};
  GetModuleFileNameW(nullptr, wide, kPathUnits - 1);
  ov_wchar_to_utf8(wide, path, size);
}

bool environment_path(const char* name, char* value, std::size_t size) noexcept {
  wchar_t wide_name[kPathUnits];
  wchar_t wide_value[kPathUnits] = {};
  ov_utf8_to_wchar_n(name, wide_name, kPathUnits);
  const DWORD length = GetEnvironmentVariableW(wide_name, wide_value, kPathUnits);
  if (length == 0 || length >= kPathUnits) {
    return false;
  }
  ov_wchar_to_utf8(wide_value, value, size);
  return true;
}

bool common_application_data(char* path, std::size_t size) noexcept {
  char folder[MAX_PATH];
  if (FAILED(SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr,
                              SHGFP_TYPE_CURRENT, folder))) {
    return false;
  }
  std::snprintf(path, size, "%s", folder);
  return true;
}

void silence_error_boxes() noexcept {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
}

void redirect_standard_error(void* stream) noexcept {
  const auto handle = _get_osfhandle(_fileno(static_cast<std::FILE*>(stream)));
  SetStdHandle(STD_ERROR_HANDLE, reinterpret_cast<HANDLE>(handle));
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
  OSVERSIONINFOA info = {};
  info.dwOSVersionInfoSize = sizeof(info);
  GetVersionExA(&info);
  SystemVersion version = {static_cast<int>(info.dwMajorVersion),
                           static_cast<int>(info.dwMinorVersion),
                           static_cast<int>(info.dwBuildNumber),
                           {}};
  std::snprintf(version.service_pack, sizeof(version.service_pack), "%s", info.szCSDVersion);
  return version;
}

bool registered(const char* value_name, char* text, std::size_t size) noexcept {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows NT\\CurrentVersion", 0,
                    KEY_READ, &key) != ERROR_SUCCESS) {
    return false;
  }
  DWORD type = 0;
  auto bytes = static_cast<DWORD>(size - 1);
  std::memset(text, 0, size);
  const LSTATUS status =
      RegQueryValueExA(key, value_name, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes);
  RegCloseKey(key);
  return status == ERROR_SUCCESS && type == REG_SZ && text[0] != '\0';
}

}  // namespace orsin::port

bool ov_computername(char* destination, std::size_t size) {
  if (destination == nullptr || size == 0) {
    return false;
  }
  auto length = static_cast<DWORD>(size);
  if (GetComputerNameA(destination, &length) != 0) {
    return true;
  }
  std::snprintf(destination, size, "%s", "???");
  return false;
}
