// Volumes of a simulated machine as the volume functions ask about them.
#include <cstdio>
#include <cstring>

#include "files/volume_port.h"
#include "tests/platform/machine/machine.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

struct Device : Object {};

}  // namespace

bool read_mount_point(const char* path, char* mount_point, std::size_t size) noexcept {
  Call call("read mount point");
  if (call.is_refused({kErrorNotReady})) {
    return false;
  }
  if (path == nullptr || path[0] == '\0' || path[1] != ':') {
    return call.fail(3);
  }
  std::snprintf(mount_point, size, "%c:\\", path[0]);
  return true;
}

DriveKind read_path_kind(const char* path) noexcept {
  return path != nullptr && std::strcmp(path + 1, ":\\") == 0 ? DriveKind::kFixed
                                                              : DriveKind::kMissing;
}

bool read_free_space(const char* /*path*/, std::uint64_t& bytes) noexcept {
  Call call("read free space");
  bytes = 1 << 20;
  return !call.is_refused({kErrorNotReady});
}

bool read_cluster_facts(const char* /*root*/, ClusterFacts& facts) noexcept {
  Call call("read cluster facts");
  facts = {8, 512};
  return !call.is_refused({kErrorNotReady});
}

void* open_volume_device(const char* /*name*/) noexcept {
  Call call("open device");
  return call.is_refused({kErrorAccessDenied}) ? nullptr
                                               : machine().handles.open(std::make_shared<Device>());
}

void close_volume_device(void* device) noexcept {
  Call call("close device");
  static_cast<void>(machine().handles.get<Device>(device));
  machine().handles.close(device);
}

bool read_sector_sizes(void* device, SectorSizes& sizes) noexcept {
  Call call("read sector sizes");
  static_cast<void>(machine().handles.get<Device>(device));
  sizes = {512, 4096};
  return !call.is_refused({kErrorNotReady});
}

bool read_extent_count(void* /*device*/, std::uint32_t& count) noexcept {
  count = 1;
  return true;
}

}  // namespace orsin::port
