#include "files/directory_port.h"

#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/text.h"

#include <winnetwk.h>

namespace orsin::port {
namespace {

constexpr std::size_t kPathUnits = 260;
constexpr DWORD kDriveStringUnits = 132;

static_assert(sizeof(WIN32_FIND_DATAW) <= 600);

using UniversalName = DWORD(WINAPI*)(LPCWSTR, DWORD, LPVOID, LPDWORD);

// Found out once and kept for the process; two first listings find the same.
enum class FastForm { kUntried, kWorks, kFails };
FastForm fast_form = FastForm::kUntried;
bool network_names_prepared = false;
UniversalName universal_name = nullptr;

// Leaves out the short names and fetches more at a time; systems before 6.1 do not know it.
HANDLE find_first(const wchar_t* pattern, WIN32_FIND_DATAW* data) {
  if (fast_form != FastForm::kFails) {
    HANDLE handle = FindFirstFileExW(pattern, FindExInfoBasic, data, FindExSearchNameMatch, nullptr,
                                     FIND_FIRST_EX_LARGE_FETCH);
    if (fast_form == FastForm::kWorks || handle != INVALID_HANDLE_VALUE) {
      fast_form = FastForm::kWorks;
      return handle;
    }
    if (GetLastError() == ERROR_INVALID_PARAMETER) {
      fast_form = FastForm::kFails;
    }
  }
  return FindFirstFileW(pattern, data);
}

bool is_listed(const WIN32_FIND_DATAW& data) {
  if ((data.dwFileAttributes & FILE_ATTRIBUTE_SYSTEM) != 0) {
    return false;
  }
  const bool is_hidden = (data.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0;
  return !is_hidden || data.cFileName[0] != L'.';
}

struct FreeDeleter {
  void operator()(wchar_t* block) const { std::free(block); }
};
using WideBlock = std::unique_ptr<wchar_t, FreeDeleter>;

// The roots of all drives, each terminated, the last one twice.
WideBlock drive_roots() {
  WideBlock roots(static_cast<wchar_t*>(std::calloc(kDriveStringUnits, sizeof(wchar_t))));
  DWORD needed = roots ? GetLogicalDriveStringsW(kDriveStringUnits - 1, roots.get()) : 0;
  if (needed >= kDriveStringUnits) {
    const DWORD units = needed + 1;
    roots.reset(static_cast<wchar_t*>(std::calloc(units, sizeof(wchar_t))));
    needed = roots ? GetLogicalDriveStringsW(units, roots.get()) : 0;
  }
  if (needed != 0) {
    return roots;
  }
  msg_os_error("Drive list 1");
  const DWORD mask = GetLogicalDrives();
  if (mask == 0) {
    msg_os_error("Drive list 2");
    return nullptr;
  }
  roots.reset(static_cast<wchar_t*>(std::calloc(kDriveStringUnits, sizeof(wchar_t))));
  wchar_t* to = roots.get();
  for (int bit = 0; roots && bit < 26; ++bit) {
    if ((mask >> bit & 1) != 0) {
      const wchar_t root[] = {static_cast<wchar_t>(L'A' + bit), L':', L'\\', L'\0'};
      std::copy(root, root + 4, to);
      to += 4;
    }
  }
  return roots;
}

void write_label(wchar_t* label, const wchar_t* root, const wchar_t* text) {
  _snwprintf(label, kPathUnits - 1, L"%ls (%ls)", root, text);
  label[kPathUnits - 1] = L'\0';
}

bool network_label(const wchar_t* root, wchar_t* label) {
  alignas(8) unsigned char answer[kPathUnits * 2] = {};
  DWORD bytes = kPathUnits;
  if (universal_name == nullptr ||
      universal_name(root, UNIVERSAL_NAME_INFO_LEVEL, answer, &bytes) != NO_ERROR) {
    return false;
  }
  UNIVERSAL_NAME_INFOW info;
  std::memcpy(&info, answer, sizeof(info));
  write_label(label, root, info.lpUniversalName);
  return true;
}

// Kept on purpose: network drives carry their remote name as the name itself when asked for; what
// the other kinds show is a label only.
void add_drive(const wchar_t* root, bool name_is_label, AddDrive add, void* context) {
  wchar_t label[kPathUnits] = {};
  bool label_is_name = false;
  switch (GetDriveTypeW(root)) {
    case DRIVE_NO_ROOT_DIR:
      return;
    case DRIVE_REMOTE:
      label_is_name = network_label(root, label) && name_is_label;
      break;
    case DRIVE_FIXED: {
      wchar_t volume[kPathUnits] = {};
      const bool has_name = GetVolumeInformationW(root, volume, kPathUnits, nullptr, nullptr,
                                                  nullptr, nullptr, 0) != 0 &&
                            volume[0] != L'\0';
      write_label(label, root, has_name ? volume : L"Local Disk");
      break;
    }
    case DRIVE_REMOVABLE:
      write_label(label, root, L"Removable Disk");
      break;
    case DRIVE_CDROM:
      write_label(label, root, L"CD/DVD Drive");
      break;
    default:
      break;  // No label.
  }
  char name_text[kPathUnits * 3];
  char label_text[kPathUnits * 3];
  ov_wchar_to_utf8(label_is_name ? label : root, name_text, sizeof(name_text));
  ov_wchar_to_utf8(label_is_name ? L"" : label, label_text, sizeof(label_text));
  add(context, name_text, label_text);
}

}  // namespace

DirectoryWalk::DirectoryWalk(const char* pattern) {
  wchar_t wide[kPathUnits];
  ov_utf8_to_wchar_n(pattern, wide, kPathUnits);
  handle_ = find_first(wide, reinterpret_cast<WIN32_FIND_DATAW*>(data_));
  has_first_ = started();
}

DirectoryWalk::~DirectoryWalk() {
  if (started()) {
    FindClose(handle_);
  }
}

bool DirectoryWalk::started() const {
  return handle_ != INVALID_HANDLE_VALUE;
}

bool DirectoryWalk::next(FoundEntry& entry) {
  auto* data = reinterpret_cast<WIN32_FIND_DATAW*>(data_);
  while (has_first_ || (started() && FindNextFileW(handle_, data) != 0)) {
    has_first_ = false;
    if (!is_listed(*data)) {
      continue;
    }
    ov_wchar_to_utf8(data->cFileName, entry.name, sizeof(entry.name));
    entry.write_time = std::uint64_t{data->ftLastWriteTime.dwHighDateTime} << 32 |
                       data->ftLastWriteTime.dwLowDateTime;
    entry.is_directory = (data->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return true;
  }
  return false;
}

void prepare_network_names() {
  if (network_names_prepared) {
    return;
  }
  network_names_prepared = true;
  SetLastError(ERROR_SUCCESS);
  if (GetEnvironmentVariableA("OV_NO_UNC", nullptr, 0) != 0 ||
      GetLastError() != ERROR_ENVVAR_NOT_FOUND) {
    return;
  }
  HMODULE library = LoadLibraryA("Mpr.dll");  // Kept for the process.
  if (library != nullptr) {
    universal_name = reinterpret_cast<UniversalName>(
        reinterpret_cast<void*>(GetProcAddress(library, "WNetGetUniversalNameW")));
  }
}

bool for_each_drive(bool name_is_label, AddDrive add, void* context) {
  const WideBlock roots = drive_roots();
  if (!roots) {
    return false;
  }
  for (const wchar_t* root = roots.get(); *root != L'\0'; root += wcslen(root) + 1) {
    add_drive(root, name_is_label, add, context);
  }
  return true;
}

}  // namespace orsin::port
