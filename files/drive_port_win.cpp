// Drives and volumes as the system knows them; see drive_list.h and volume_port.h.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <cwchar>

#include "base/win/windows.h"
#include "files/drive_list.h"
#include "files/volume_port.h"

#include <winioctl.h>

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

DriveKind kind_of(UINT type) {
  switch (type) {
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

// The query for a device's access alignment and its answer; toolchains disagree on whether they
// declare them.
struct PropertyQuery {
  DWORD property = 6;
  DWORD query_type = 0;
  DWORD additional = 0;
};
static_assert(sizeof(PropertyQuery) == 12);

struct AccessAlignment {
  DWORD version;
  DWORD size;
  DWORD bytes_per_cache_line;
  DWORD bytes_offset_for_cache_alignment;
  DWORD bytes_per_logical_sector;
  DWORD bytes_per_physical_sector;
  DWORD bytes_offset_for_sector_alignment;
};
static_assert(sizeof(AccessAlignment) == 28);

constexpr DWORD kGetVolumeDiskExtents = 0x560000;
char extents_answer[4096];

}  // namespace

std::uint32_t read_drive_roots(unsigned short* roots, std::uint32_t units) noexcept {
  return GetLogicalDriveStringsW(units, wide(roots));
}

std::uint32_t read_drive_mask() noexcept {
  return GetLogicalDrives();
}

DriveKind read_drive_kind(const unsigned short* root) noexcept {
  return kind_of(GetDriveTypeW(wide(root)));
}

bool read_volume_name(const unsigned short* root, unsigned short* name) noexcept {
  return GetVolumeInformationW(wide(root), wide(name), kDriveTextUnits, nullptr, nullptr, nullptr,
                               nullptr, 0) != 0;
}

void load_remote_names() noexcept {
  // Kept for the process. By its name alone, a library that lies beside the program would be taken.
  const HMODULE library = LoadLibraryExW(L"Mpr.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
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

bool read_mount_point(const char* path, char* mount_point, std::size_t size) noexcept {
  if (path == nullptr || mount_point == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  constexpr std::size_t kCountMax = MAXDWORD;
  const auto count = static_cast<DWORD>(std::min(size, kCountMax));
  return GetVolumePathNameA(path, mount_point, count) != 0;
}

DriveKind read_path_kind(const char* path) noexcept {
  return path != nullptr ? kind_of(GetDriveTypeA(path)) : DriveKind::kUnknown;
}

bool read_free_space(const char* path, std::uint64_t& bytes) noexcept {
  ULARGE_INTEGER available;
  ULARGE_INTEGER total;
  ULARGE_INTEGER free_bytes;
  if (path == nullptr || GetDiskFreeSpaceExA(path, &available, &total, &free_bytes) == 0) {
    return false;
  }
  bytes = free_bytes.QuadPart;
  return true;
}

bool read_cluster_facts(const char* root, ClusterFacts& facts) noexcept {
  DWORD sectors = 0;
  DWORD bytes = 0;
  DWORD free_clusters = 0;
  DWORD clusters = 0;
  if (GetDiskFreeSpaceA(root, &sectors, &bytes, &free_clusters, &clusters) == 0) {
    return false;
  }
  facts = {sectors, bytes};
  return true;
}

void* open_volume_device(const char* name) noexcept {
  const HANDLE device =
      CreateFileA(name, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  return device != INVALID_HANDLE_VALUE ? device : nullptr;
}

void close_volume_device(void* device) noexcept {
  const DWORD error = GetLastError();
  CloseHandle(device);
  SetLastError(error);
}

bool read_sector_sizes(void* device, SectorSizes& sizes) noexcept {
  PropertyQuery query;
  AccessAlignment answer = {};
  DWORD bytes = 0;
  if (DeviceIoControl(device, IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof(query), &answer,
                      sizeof(answer), &bytes, nullptr) == 0) {
    return false;
  }
  sizes = {answer.bytes_per_logical_sector, answer.bytes_per_physical_sector};
  return true;
}

bool read_extent_count(void* device, std::uint32_t& count) noexcept {
  DWORD bytes = 0;
  if (DeviceIoControl(device, kGetVolumeDiskExtents, nullptr, 0, extents_answer,
                      sizeof(extents_answer), &bytes, nullptr) == 0) {
    return false;
  }
  std::memcpy(&count, extents_answer, sizeof(count));
  return true;
}

}  // namespace orsin::port
