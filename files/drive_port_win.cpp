// Drives as the system knows them; see drive_list.h.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <cwchar>

#include "core/win/windows.h"
#include "files/drive_list.h"

namespace orsin::port {
namespace {

static_assert(sizeof(wchar_t) == sizeof(unsigned short));

const wchar_t* wide(const unsigned short* text) {
  return reinterpret_cast<const wchar_t*>(text);
}
wchar_t* wide(unsigned short* text) {
  return reinterpret_cast<wchar_t*>(text);
}

// As <winnetwk.h> declares them; the library is loaded only when it is needed.
constexpr DWORD kRemoteNameLevel = 2;
struct RemoteName {
  wchar_t* universal_name;
  wchar_t* connection_name;
  wchar_t* remaining_path;
};
using GetUniversalName = DWORD(WINAPI*)(const wchar_t*, DWORD, void*, DWORD*);

std::atomic<GetUniversalName> get_universal_name = nullptr;

}  // namespace

std::uint32_t read_drive_roots(unsigned short* roots, std::uint32_t units) noexcept {
  return GetLogicalDriveStringsW(units, wide(roots));
}

std::uint32_t read_drive_mask() noexcept {
  return GetLogicalDrives();
}

DriveKind read_drive_kind(const unsigned short* root) noexcept {
  switch (GetDriveTypeW(wide(root))) {
    case DRIVE_NO_ROOT_DIR:
      return DriveKind::kMissing;
    case DRIVE_REMOVABLE:
      return DriveKind::kRemovable;
    case DRIVE_FIXED:
      return DriveKind::kFixed;
    case DRIVE_REMOTE:
      return DriveKind::kRemote;
    case DRIVE_CDROM:
      return DriveKind::kDisc;
    case DRIVE_RAMDISK:
      return DriveKind::kMemory;
    default:
      return DriveKind::kUnknown;
  }
}

bool read_volume_name(const unsigned short* root, unsigned short* name) noexcept {
  return GetVolumeInformationW(wide(root), wide(name), kDriveTextUnits, nullptr, nullptr, nullptr,
                               nullptr, 0) != 0;
}

void load_remote_names() noexcept {
  const HMODULE library = LoadLibraryW(L"Mpr.dll");  // Kept for the process.
  if (library == nullptr) {
    return;
  }
  const FARPROC address = GetProcAddress(library, "WNetGetUniversalNameW");
  GetUniversalName function = nullptr;
  std::memcpy(&function, &address, sizeof(function));
  get_universal_name.store(function, std::memory_order_release);
}

bool read_remote_name(const unsigned short* root, unsigned short* name) noexcept {
  const GetUniversalName function = get_universal_name.load(std::memory_order_acquire);
  alignas(RemoteName) std::byte answer[kDriveTextUnits * sizeof(wchar_t)];
  DWORD bytes = sizeof(answer);
  if (function == nullptr || function(wide(root), kRemoteNameLevel, answer, &bytes) != NO_ERROR) {
    return false;
  }
  RemoteName remote;
  std::memcpy(&remote, answer, sizeof(remote));
  if (remote.connection_name == nullptr) {
    return false;
  }
  const std::size_t length = std::min(std::wcslen(remote.connection_name), kDriveTextUnits - 1);
  std::memcpy(name, remote.connection_name, length * sizeof(wchar_t));
  name[length] = 0;
  return true;
}

}  // namespace orsin::port
