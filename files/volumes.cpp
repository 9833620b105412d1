// Volumes and drives: where a path lives, how much room there is, how transfers must be aligned.
//
// The sector sizes are remembered for each drive letter, without a lock: two first queries of a
// drive may both run, and store the same.
#include "files/volumes.h"

#include <atomic>
#include <cstdio>
#include <memory>

#include "base/given_text.h"
#include "base/log_port.h"
#include "files/buffer_configuration.h"
#include "files/volume_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

using port::DriveKind;

constexpr std::size_t kMountPointBytes = 261;
constexpr int kSectorSizeUnknown = -1;
constexpr std::size_t kDeviceNameBytes = 8;  // "\\.\C:" and its terminator.

std::atomic<int> sector_sizes[26] = {};  // 0: not asked yet.

int drive_index(const char* path) {
  if (path[0] == '\0' || path[1] != ':') {
    return -1;
  }
  if (path[0] >= 'a' && path[0] <= 'z') {
    return path[0] - 'a';
  }
  return path[0] >= 'A' && path[0] <= 'Z' ? path[0] - 'A' : -1;
}

struct CloseDevice {
  void operator()(void* device) const { port::close_volume_device(device); }
};
using UniqueDevice = std::unique_ptr<void, CloseDevice>;

// "\\.\C:"
UniqueDevice open_device(int index, char* name) {
  std::snprintf(name, kDeviceNameBytes, "\\\\.\\%c:", 'A' + index);
  return UniqueDevice(port::open_volume_device(name));
}

// The drive's physical sector size; 0 when the device does not tell.
int ask_device_sector_size(int index) {
  char name[kDeviceNameBytes];
  const UniqueDevice device = open_device(index, name);
  if (!device) {
    msgwarn("IO: Failed to open drive to query sector size: %s (%ld)", name,
            static_cast<long>(port::last_system_error()));
    return 0;
  }
  port::SectorSizes sizes = {};
  if (!port::read_sector_sizes(device.get(), sizes)) {
    msgwarn("IO: Failed to query sector size for drive: %s (%ld)", name,
            static_cast<long>(port::last_system_error()));
    return 0;
  }
  const int logical = static_cast<int>(sizes.logical);
  msginfo("IO: Logical sector size for drive %s = %d bytes", name, logical);
  // Kept on purpose: the second line shows the logical size too; required.
  msgcont("  : Physical sector size for drive %s = %d bytes", name, logical);
  return static_cast<int>(sizes.physical);
}

int ask_file_system_sector_size(int index) {
  char root[4];
  std::snprintf(root, sizeof(root), "%c:\\", 'A' + index);
  port::ClusterFacts facts = {};
  if (!port::read_cluster_facts(root, facts)) {
    msgwarn("IO: Sector size failed for '%s'", root);
    return 0;
  }
  const int bytes = static_cast<int>(facts.bytes_per_sector);
  msginfo("IO: Sector size for drive %s = %d bytes", root, bytes);
  return bytes;
}

bool find_mount_point(const char* path, char* mount_point) {
  if (!port::read_mount_point(path, mount_point, kMountPointBytes)) {
    msgwarn("Failed to find mount point for path '%s'", given(path));
    return false;
  }
  return true;
}

int is_on_drive_of_kind(const char* path, DriveKind kind) {
  char mount_point[kMountPointBytes];
  return find_mount_point(path, mount_point) && port::read_path_kind(mount_point) == kind ? 1 : 0;
}

// 0 when the device does not tell.
std::uint32_t count_extents(int index) {
  char name[kDeviceNameBytes];
  const UniqueDevice device = open_device(index, name);
  std::uint32_t count = 0;
  return device && port::read_extent_count(device.get(), count) ? count : 0;
}

}  // namespace

long long drive_sector_size(const char* path) {
  const int default_size = buffer_configuration().default_size;
  const int index = drive_index(path);
  if (index < 0) {
    return default_size;
  }
  const int known = sector_sizes[index].load(std::memory_order_relaxed);
  if (known != 0) {
    return known > 0 ? known : default_size;
  }
  int size = ask_device_sector_size(index);
  if (size == 0) {
    size = ask_file_system_sector_size(index);
  }
  sector_sizes[index].store(size > 0 ? size : kSectorSizeUnknown, std::memory_order_relaxed);
  return size > 0 ? size : default_size;
}

void forget_sector_sizes() {
  for (std::atomic<int>& size : sector_sizes) {
    size.store(0, std::memory_order_relaxed);
  }
}

}  // namespace orsin

using namespace orsin;

unsigned long long ov_freespace(const char* path) {
  std::uint64_t bytes = 0;
  return port::read_free_space(path, bytes) ? bytes : 0;
}

bool ov_get_volumeinfo(const char* path, unsigned int& extents, unsigned int& cluster) {
  char mount_point[kMountPointBytes];
  if (!find_mount_point(path, mount_point)) {
    return false;
  }
  if (port::read_path_kind(mount_point) != DriveKind::kFixed) {
    msgwarn("Failed to get valid drive type for mount point '%s'", mount_point);
    return false;
  }
  extents = 0;
  cluster = 0;
  port::ClusterFacts facts = {};
  if (port::read_cluster_facts(mount_point, facts)) {
    cluster = facts.sectors_per_cluster * facts.bytes_per_sector;
  }
  // The letter alone decides: a volume mounted into a directory counts by the drive it hangs on.
  const int index = drive_index(mount_point);
  if (index < 0) {
    return false;
  }
  extents = count_extents(index);
  return extents != 0;
}

bool ov_get_volumepath(const char* path, char* out, std::size_t size) {
  if (!port::read_mount_point(path, out, size)) {
    msgwarn(" Failed to get volume path '%s' (%d)", given(path),
            static_cast<int>(port::last_system_error()));
    return false;
  }
  return true;
}

bool ov_localpath(const char* path) {
  DriveKind kind = port::read_path_kind(path);
  char mount_point[kMountPointBytes];
  if (kind == DriveKind::kMissing && port::read_mount_point(path, mount_point, kMountPointBytes)) {
    kind = port::read_path_kind(mount_point);
  }
  return kind == DriveKind::kFixed;
}

int is_removable_drive(const char* path) {
  return is_on_drive_of_kind(path, DriveKind::kRemovable);
}

int is_remote_network_drive(const char* path) {
  return is_on_drive_of_kind(path, DriveKind::kRemote);
}
