// The volumes and their devices in builds without Windows.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "files/volume_port.h"

namespace orsin::test {

/// What the system would say about one drive letter; a failing call leaves `error`.
struct FakeVolume {
  port::DriveKind kind = port::DriveKind::kFixed;
  bool has_device = true;
  bool tells_sectors = true;
  port::SectorSizes sectors = {512, 4096};
  bool tells_clusters = true;
  port::ClusterFacts clusters = {8, 512};
  bool tells_extents = true;
  std::uint32_t extents = 1;
  std::uint64_t free_bytes = 0;
  int error = 5;
  std::string mount_point = {};  // Where it is not the drive's root.
};

struct FakeVolumes {
  std::map<char, FakeVolume> by_letter;
  int devices_open = 0;
  int devices_opened = 0;
};

FakeVolumes& fake_volumes();

}  // namespace orsin::test
