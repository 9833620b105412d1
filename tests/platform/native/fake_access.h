// Who may do what with files, in builds without Windows: what becomes of granting everybody access to
// a directory, which file somebody holds, and whose times and attributes stay.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/file_system_port.h"

namespace orsin::test {

struct FakeAccess {
  port::AccessGrant grant = port::AccessGrant::kGranted;
  std::uint32_t merge_error = 0;
  std::vector<std::string> directories = {};  // That were asked for, in order.
  bool refuses_facts = false;                 // Nobody may change times or attributes.
  std::string held = {};  // This file has been opened without leave to rename it.
};

FakeAccess& fake_access();

}  // namespace orsin::test
