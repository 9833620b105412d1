// What the drive list finds in builds without Windows.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "files/drive_list.h"

namespace orsin::test {

struct FakeDrive {
  char letter;
  port::DriveKind kind;
  std::string name;  // The volume's, or what a network drive is connected to.
};

struct FakeDrives {
  std::vector<FakeDrive> drives;
  bool roots_fail = false;
  std::size_t padding_units = 0;  // Makes the roots need more room than they fill.
  int remote_name_loads = 0;
  std::function<void()> after_roots = {};  // Done once after the roots were asked for.
};

FakeDrives& fake_drives();

}  // namespace orsin::test
