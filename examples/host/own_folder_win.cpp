#include "examples/host/own_folder.h"

#include "base/win/windows.h"

#include <filesystem>
#include <string>

namespace host {
namespace {

constexpr wchar_t kVariable[] = L"ORSIN_HOST_DATA";

std::filesystem::path program_path() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

}  // namespace

void use_own_folder() {
  const std::filesystem::path program = program_path();
  if (program.native().find(L"bin64") != std::wstring::npos ||
      GetEnvironmentVariableW(kVariable, nullptr, 0) != 0) {
    return;
  }
  const std::filesystem::path folder = program.parent_path().parent_path();
  std::error_code error;
  if (std::filesystem::is_regular_file(folder / L"Settings" / L"System.reg", error)) {
    SetEnvironmentVariableW(kVariable, folder.c_str());
  }
}

}  // namespace host
