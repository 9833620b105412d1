// Volumes as the tests want them, for builds without Windows.
#include "tests/platform/native/fake_volumes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace orsin::test {

FakeVolumes& fake_volumes() {
  static FakeVolumes volumes;
  return volumes;
}

}  // namespace orsin::test

namespace orsin::port {
namespace {

constexpr int kPathNotFound = 3;
constexpr int kInvalidParameter = 87;

test::FakeVolume* find_volume(char letter) {
  auto& volumes = test::fake_volumes().by_letter;
  const auto found = volumes.find(letter);
  if (found == volumes.end()) {
    errno = kPathNotFound;
    return nullptr;
  }
  return &found->second;
}

test::FakeVolume* volume_of_path(const char* path) {
  if (path == nullptr) {
    errno = kInvalidParameter;
    return nullptr;
  }
  for (auto& [letter, volume] : test::fake_volumes().by_letter) {
    if (!volume.mount_point.empty() && volume.mount_point == path) {
      return &volume;
    }
  }
  if (path[0] == '\0' || path[1] != ':') {
    errno = kPathNotFound;
    return nullptr;
  }
  return find_volume(path[0]);
}

// True, or false with the volume's error.
bool answer(const test::FakeVolume& volume, bool succeeds) {
  if (!succeeds) {
    errno = volume.error;
  }
  return succeeds;
}

}  // namespace

bool read_mount_point(const char* path, char* mount_point, std::size_t size) noexcept {
  const test::FakeVolume* volume = volume_of_path(path);
  if (volume == nullptr) {
    return false;
  }
  if (mount_point == nullptr) {
    errno = kInvalidParameter;
    return false;
  }
  const std::string root{path[0], ':', '\\'};
  std::snprintf(mount_point, size, "%s",
                (volume->mount_point.empty() ? root : volume->mount_point).c_str());
  return true;
}

// Like the system, knows only roots.
DriveKind read_path_kind(const char* path) noexcept {
  const test::FakeVolume* volume = volume_of_path(path);
  const bool is_root =
      volume != nullptr && (volume->mount_point == path || std::strcmp(path + 2, "\\") == 0);
  return is_root ? volume->kind : DriveKind::kMissing;
}

bool read_free_space(const char* path, std::uint64_t& bytes) noexcept {
  const test::FakeVolume* volume = volume_of_path(path);
  if (volume == nullptr) {
    return false;
  }
  bytes = volume->free_bytes;
  return true;
}

bool read_cluster_facts(const char* root, ClusterFacts& facts) noexcept {
  const test::FakeVolume* volume = volume_of_path(root);
  if (volume == nullptr || !answer(*volume, volume->tells_clusters)) {
    return false;
  }
  facts = volume->clusters;
  return true;
}

void* open_volume_device(const char* name) noexcept {
  constexpr char kPrefix[] = "\\\\.\\";
  test::FakeVolume* volume = find_volume(name[std::strlen(kPrefix)]);
  if (volume == nullptr || !answer(*volume, volume->has_device)) {
    return nullptr;
  }
  ++test::fake_volumes().devices_open;
  ++test::fake_volumes().devices_opened;
  return volume;
}

void close_volume_device(void* /*device*/) noexcept {
  --test::fake_volumes().devices_open;
}

bool read_sector_sizes(void* device, SectorSizes& sizes) noexcept {
  const auto* volume = static_cast<test::FakeVolume*>(device);
  sizes = volume->sectors;
  return answer(*volume, volume->tells_sectors);
}

bool read_extent_count(void* device, std::uint32_t& count) noexcept {
  const auto* volume = static_cast<test::FakeVolume*>(device);
  count = volume->extents;
  return answer(*volume, volume->tells_extents);
}

}  // namespace orsin::port
