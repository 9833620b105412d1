// Volumes and drives.
#include "files/volumes.h"

#include <cstdio>

#include "core/win/windows.h"
#include "files/buffer_configuration.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

#include <winioctl.h>

namespace orsin {
namespace {

constexpr std::size_t kMountPointBytes = 261;
constexpr int kSectorSizeUnknown = -1;

// Both are unguarded: two first queries of a drive may both run and store the same.
int sector_sizes[26] = {};
char extents_answer[4096];

int drive_index(const char* path) {
  if (path[0] == '\0' || path[1] != ':') {
    return -1;
  }
  if (path[0] >= 'a' && path[0] <= 'z') {
    return path[0] - 'a';
  }
  return path[0] >= 'A' && path[0] <= 'Z' ? path[0] - 'A' : -1;
}

// A device handle without access rights: enough to ask for properties.
class VolumeDevice {
 public:
  explicit VolumeDevice(const char* name)
      : handle_(CreateFileA(name, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                            nullptr)) {}
  ~VolumeDevice() {
    if (is_open()) {
      CloseHandle(handle_);
    }
  }
  VolumeDevice(const VolumeDevice&) = delete;
  VolumeDevice& operator=(const VolumeDevice&) = delete;

  [[nodiscard]] bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }

  template <typename Query>
  bool ask(DWORD code, const Query* query, DWORD query_bytes, void* answer, DWORD answer_bytes) {
    DWORD bytes = 0;
    return DeviceIoControl(handle_, code, const_cast<Query*>(query), query_bytes, answer,
                           answer_bytes, &bytes, nullptr) != 0;
  }

 private:
  HANDLE handle_;
};

// The layout of the access-alignment answer; toolchains disagree on whether they declare it.
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

struct PropertyQuery {
  DWORD property = 6;  // Access alignment.
  DWORD query_type = 0;
  DWORD additional = 0;
};
static_assert(sizeof(PropertyQuery) == 12);

// The drive's physical sector size; 0 when the device does not tell.
int ask_physical_sector_size(char letter) {
  char device_name[8];
  std::snprintf(device_name, sizeof(device_name), "\\\\.\\%c:", letter);
  VolumeDevice device(device_name);
  if (!device.is_open()) {
    msgwarn("IO: Failed to open drive to query sector size: %s (%ld)", device_name,
            static_cast<long>(GetLastError()));
    return 0;
  }
  const PropertyQuery query;
  AccessAlignment answer = {};
  if (!device.ask(IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof(query), &answer, sizeof(answer))) {
    msgwarn("IO: Failed to query sector size for drive: %s (%ld)", device_name,
            static_cast<long>(GetLastError()));
    return 0;
  }
  const int logical = static_cast<int>(answer.bytes_per_logical_sector);
  msginfo("IO: Logical sector size for drive %s = %d bytes", device_name, logical);
  // Kept on purpose: the second line shows the logical size too; log readers parse it so.
  msgcont("  : Physical sector size for drive %s = %d bytes", device_name, logical);
  return static_cast<int>(answer.bytes_per_physical_sector);
}

int ask_file_system_sector_size(char letter) {
  char root[4];
  std::snprintf(root, sizeof(root), "%c:\\", letter);
  DWORD sectors = 0;
  DWORD bytes = 0;
  DWORD free_clusters = 0;
  DWORD clusters = 0;
  if (GetDiskFreeSpaceA(root, &sectors, &bytes, &free_clusters, &clusters) == 0) {
    msgwarn("IO: Sector size failed for '%s'", root);
    return 0;
  }
  msginfo("IO: Sector size for drive %s = %d bytes", root, static_cast<int>(bytes));
  return static_cast<int>(bytes);
}

bool find_mount_point(const char* path, char* mount_point) {
  if (GetVolumePathNameA(path, mount_point, kMountPointBytes) == 0) {
    msgwarn("Failed to find mount point for path '%s'", path);
    return false;
  }
  return true;
}

int is_drive_of_type(const char* path, UINT type) {
  char mount_point[kMountPointBytes];
  return find_mount_point(path, mount_point) && GetDriveTypeA(mount_point) == type ? 1 : 0;
}

}  // namespace

long long drive_sector_size(const char* path) {
  const int default_size = buffer_configuration().default_size;
  const int index = drive_index(path);
  if (index < 0) {
    return default_size;
  }
  int& cached = sector_sizes[index];
  if (cached == 0) {
    const char letter = static_cast<char>('A' + index);
    int size = ask_physical_sector_size(letter);
    if (size == 0) {
      size = ask_file_system_sector_size(letter);
    }
    cached = size > 0 ? size : kSectorSizeUnknown;
  }
  return cached > 0 ? cached : default_size;
}

void forget_sector_sizes() {
  for (int& size : sector_sizes) {
    size = 0;
  }
}

}  // namespace orsin

using namespace orsin;

unsigned long long ov_freespace(const char* path) {
  ULARGE_INTEGER available;
  ULARGE_INTEGER total;
  ULARGE_INTEGER free_bytes;
  return GetDiskFreeSpaceExA(path, &available, &total, &free_bytes) != 0 ? free_bytes.QuadPart : 0;
}

bool ov_get_volumeinfo(const char* path, unsigned int& extents, unsigned int& cluster) {
  char mount_point[kMountPointBytes];
  if (!find_mount_point(path, mount_point)) {
    return false;
  }
  if (GetDriveTypeA(mount_point) != DRIVE_FIXED) {
    msgwarn("Failed to get valid drive type for mount point '%s'", mount_point);
    return false;
  }
  extents = 0;
  cluster = 0;
  DWORD sectors = 0;
  DWORD bytes = 0;
  DWORD free_clusters = 0;
  DWORD clusters = 0;
  if (GetDiskFreeSpaceA(mount_point, &sectors, &bytes, &free_clusters, &clusters) != 0) {
    cluster = sectors * bytes;
  }
  const int index = drive_index(mount_point);
  if (index < 0) {
    return false;
  }
  constexpr DWORD kGetDiskExtents = 0x560000;
  char device_name[8];
  std::snprintf(device_name, sizeof(device_name), "\\\\.\\%c:", 'A' + index);
  VolumeDevice device(device_name);
  if (!device.is_open() || !device.ask(kGetDiskExtents, static_cast<const char*>(nullptr), 0,
                                       extents_answer, sizeof(extents_answer))) {
    return false;
  }
  unsigned int count = 0;
  std::memcpy(&count, extents_answer, sizeof(count));
  extents = count;
  return count != 0;
}

bool ov_get_volumepath(const char* path, char* out, std::size_t size) {
  if (GetVolumePathNameA(path, out, static_cast<DWORD>(size)) == 0) {
    msgwarn(" Failed to get volume path '%s' (%d)", path, static_cast<int>(GetLastError()));
    return false;
  }
  return true;
}

bool ov_localpath(const char* path) {
  UINT type = GetDriveTypeA(path);
  char mount_point[kMountPointBytes];
  if (type == DRIVE_NO_ROOT_DIR && GetVolumePathNameA(path, mount_point, kMountPointBytes) != 0) {
    type = GetDriveTypeA(mount_point);
  }
  return type == DRIVE_FIXED;
}

int is_removable_drive(const char* path) {
  return is_drive_of_type(path, DRIVE_REMOVABLE);
}

int is_remote_network_drive(const char* path) {
  return is_drive_of_type(path, DRIVE_REMOTE);
}
