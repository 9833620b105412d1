// What the volume functions ask of the platform. drive_port_win.cpp answers.
//
// Paths are in the system's narrow code page and passed on unchanged, except that null names
// nothing: to some of the system's calls it would be the current directory. A call that fails
// leaves the thread's last error; nothing is logged.
#pragma once

#include <cstddef>
#include <cstdint>

#include "files/drive_list.h"

namespace orsin::port {

/// GetVolumePathNameA.
[[nodiscard]] bool read_mount_point(const char* path, char* mount_point, std::size_t size) noexcept;

/// GetDriveTypeA.
[[nodiscard]] DriveKind read_path_kind(const char* path) noexcept;

/// The free bytes of the whole volume, not of the caller's quota. GetDiskFreeSpaceExA.
[[nodiscard]] bool read_free_space(const char* path, std::uint64_t& bytes) noexcept;

struct ClusterFacts {
  std::uint32_t sectors_per_cluster;
  std::uint32_t bytes_per_sector;
};

/// GetDiskFreeSpaceA.
[[nodiscard]] bool read_cluster_facts(const char* root, ClusterFacts& facts) noexcept;

/// A handle without access rights, shared with everybody: enough to ask for properties. Null on
/// failure. CreateFileA.
[[nodiscard]] void* open_volume_device(const char* name) noexcept;

/// Keeps the last error.
void close_volume_device(void* device) noexcept;

struct SectorSizes {
  std::uint32_t logical;
  std::uint32_t physical;  // 0 where the device does not tell.
};

/// IOCTL_STORAGE_QUERY_PROPERTY, the access alignment.
[[nodiscard]] bool read_sector_sizes(void* device, SectorSizes& sizes) noexcept;

/// The pieces of disks that a volume consists of. One thread at a time: the answer passes through
/// one buffer of the process. IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS.
[[nodiscard]] bool read_extent_count(void* device, std::uint32_t& count) noexcept;

}  // namespace orsin::port
